// SPDX-License-Identifier: Apache-2.0
// The part of the view in which an announcement is composed.

import {h, replace, set} from '../dom.js';
import {t} from '../i18n.js';
import {itemsEditor} from './announceItems.js';
import {displayEditor, field, listOf, numberField, speechEditor, uploadEditor} from './announceParts.js';
import {recordingEditor} from './announceRecordings.js';

const kinds = ['texts', 'items', 'recording', 'upload', 'none'];

/// What the server can play, as far as it lists it.
export async function fetchLists(api, signal) {
    const names = ['dictionary', 'chimes'];
    const lists = await Promise.all(names.map((name) => listOf(api, name, signal)));
    return Object.fromEntries(names.map((name, i) => [name, lists[i]]));
}

const editors = {
    texts: ({app, draft, change}) => speechEditor({app, texts: draft.texts, voice: draft.voice, onChange: change}),
    items: ({lists, draft, change}) => [
        itemsEditor({dictionary: lists.dictionary, value: draft.items, onChange: (items) => change({items})}),
        numberField(t('compose.repeat'), draft.repeat, {min: 1, max: 1000},
            (repeat) => change({repeat})),
    ],
    recording: ({app, draft, change}) => recordingEditor({app, value: draft.recording,
        onChange: (recording) => change({recording})}),
    upload: ({app, draft, change}) => uploadEditor({app, value: draft.upload, onChange: (upload) => change({upload})}),
    none: () => [],
};

/// A choice between the kinds of an audio part, as radio buttons.
export function kindChoice(name, values, chosen, onChoose) {
    return h('div', {class: 'segments', role: 'radiogroup', 'aria-label': t('compose.kind')},
        values.map((kind) => h('label', {class: 'segment'},
            h('input', {type: 'radio', name, value: kind, checked: kind === chosen,
                on: {change: () => onChoose(kind)}}),
            h('span', {}, t(`compose.kind.${kind}`)))));
}

/// A chime: one of those that the server lists, or a number; 0 for none.
function chimeField(label, chimes, value, onChange) {
    if (chimes === null) {
        return numberField(label, value, {min: 0, max: 1000000}, onChange);
    }
    const select = h('select', {value: String(value), on: {change: () => onChange(Number(select.value))}},
        h('option', {value: '0'}, t('compose.noChime')),
        chimes.map((chime) => h('option', {value: String(chime.item)}, chime.text)));
    return field(label, select);
}

function options(lists, draft, change) {
    const relative = h('input', {type: 'checkbox', checked: draft.isRelative,
        on: {change: () => change({isRelative: relative.checked})}});
    return h('details', {class: 'options'}, h('summary', {}, t('compose.options')),
        h('div', {class: 'option-grid'},
            numberField(t('compose.priority'), draft.priority, {min: -100000, max: 100000},
                (priority) => change({priority})),
            h('label', {class: 'check'}, relative, h('span', {}, t('compose.relative'))),
            chimeField(t('compose.preChime'), lists.chimes, draft.preChime, (preChime) => change({preChime})),
            chimeField(t('compose.postChime'), lists.chimes, draft.postChime, (postChime) => change({postChime})),
            numberField(t('compose.gain'), draft.gain, {min: -96, max: 42, step: 0.1, isOptional: true,
                note: t('compose.gainNote')}, (gain) => change({gain}))));
}

/// Builds the editors of a draft, which they change; `onChange()` is called afterwards.
export function contentEditor({app, lists, draft, onChange}) {
    const change = (part) => {
        Object.assign(draft, part);
        onChange();
    };
    const audio = h('div', {class: 'compose-audio'});
    const showAudio = () => replace(audio, editors[draft.audio]({app, lists, draft, change}));
    const display = h('div', {class: 'compose-display', hidden: !draft.hasDisplay}, displayEditor({
        value: draft, onChange: ({template, variables, validity}) => change({template, variables, validity})}));
    const hasDisplay = h('input', {type: 'checkbox', checked: draft.hasDisplay, on: {change: () => {
        set(display, 'hidden', !hasDisplay.checked);
        change({hasDisplay: hasDisplay.checked});
    }}});
    showAudio();
    return h('div', {class: 'stack'},
        kindChoice('audio', kinds, draft.audio, (kind) => {
            change({audio: kind});
            showAudio();
        }),
        audio,
        h('label', {class: 'check'}, hasDisplay, h('span', {}, t('compose.display'))),
        display,
        options(lists, draft, change));
}
