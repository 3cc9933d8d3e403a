// SPDX-License-Identifier: Apache-2.0
// What a schedule plays and displays: the part of its editor for the content.

import {h, replace, set} from '../dom.js';
import {t} from '../i18n.js';
import {kindChoice} from './announceContent.js';
import {itemsEditor} from './announceItems.js';
import {displayEditor, field, numberField, speechEditor} from './announceParts.js';
import {recordingEditor} from './announceRecordings.js';
import {PartType, audioOf, withAudio} from './schedulesModel.js';

const usualValidity = 30;

/// `definition` is changed by `change(part)`.
export function scheduleContent({app, lists, definition, change}) {
    const audio = h('div', {class: 'compose-audio'});
    const showAudio = () => replace(audio, audioEditor({app, lists, definition, change}));
    showAudio();
    return h('div', {class: 'stack'},
        kindChoice('schedule-audio', ['texts', 'items', 'recording', 'none'], audioOf(definition), (kind) => {
            change(withAudio(definition, kind));
            showAudio();
        }),
        audio, displayPart(definition, change), options(lists, definition, change));
}

function audioEditor({app, lists, definition: d, change}) {
    const first = d.ttsList[0];
    return {
        none: () => [],
        texts: () => speechEditor({app, texts: d.ttsList.length > 0 ? d.ttsList.map((spoken) => spoken.text) : [''],
            voice: first ? {language: first.language, voice: first.voice} : null,
            onChange: ({texts, voice}) => change({ttsList: texts.map((text, i) =>
                ({...d.ttsList[i] ?? first, ...voice, text}))})}),
        items: () => [itemsEditor({dictionary: lists.dictionary, value: d.dictionaryItems,
            onChange: (dictionaryItems) => change({dictionaryItems})}),
        numberField(t('compose.repeat'), d.repeatCnt, {min: 1, max: 1000}, (repeatCnt) => change({repeatCnt}))],
        recording: () => recordingEditor({app, value: d.storedDataFilePath,
            onChange: (storedDataFilePath) => change({storedDataFilePath})}),
    }[audioOf(d)]();
}

function displayPart(d, change) {
    const display = h('div', {class: 'compose-display'}, displayEditor({
        value: {template: d.displayTemplateName, variables: Object.entries(d.displayTemplateKeyValueList),
            validity: d.displayTemplateValidityPeriodSeconds || usualValidity},
        onChange: (value) => change({displayTemplateName: value.template,
            displayTemplateKeyValueList: Object.fromEntries(value.variables.filter(([key]) => key)),
            displayTemplateValidityPeriodSeconds: value.validity})}));
    const hasDisplay = h('input', {type: 'checkbox', checked: d.visualAnnouncementType !== PartType.None,
        on: {change: () => {
            set(display, 'hidden', !hasDisplay.checked);
            change({visualAnnouncementType: hasDisplay.checked ? PartType.Display : PartType.None,
                displayTemplateValidityPeriodSeconds: d.displayTemplateValidityPeriodSeconds || usualValidity});
        }}});
    set(display, 'hidden', !hasDisplay.checked);
    return [h('label', {class: 'check'}, hasDisplay, h('span', {}, t('compose.display'))), display];
}

function options(lists, d, change) {
    const relative = h('input', {type: 'checkbox', checked: d.priorityMode === 1,
        on: {change: () => change({priorityMode: relative.checked ? 1 : 0})}});
    const gain = h('input', {type: 'number', min: -96, max: 42, step: 'any', value: d.gain || '',
        on: {input: () => gain.validity.valid && change({gain: gain.value === '' ? 0 : gain.valueAsNumber})}});
    return h('details', {class: 'options'}, h('summary', {}, t('compose.options')), h('div', {class: 'option-grid'},
        numberField(t('compose.priority'), d.priorityLevel, {min: -100000, max: 100000},
            (priorityLevel) => change({priorityLevel})),
        h('label', {class: 'check'}, relative, h('span', {}, t('compose.relative'))),
        chimeField(lists.chimes ?? [], d.chime, (chime) => change({chime})),
        field(t('compose.gain'), gain, t('compose.gainNote'))));
}

/// The number of a chime, or its name.
function chimeField(chimes, chime, onChange) {
    if (chimes.length === 0) {
        const input = h('input', {type: 'text', maxlength: 100, value: chime, on: {input: () => onChange(input.value)}});
        return field(t('compose.preChime'), input);
    }
    const isKnown = chime === '' || chimes.some((one) => String(one.item) === chime);
    const select = h('select', {value: chime, on: {change: () => onChange(select.value)}},
        h('option', {value: ''}, t('compose.noChime')), !isKnown && h('option', {value: chime}, chime),
        chimes.map((one) => h('option', {value: String(one.item)}, one.text)));
    return field(t('compose.preChime'), select);
}
