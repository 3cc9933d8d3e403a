// SPDX-License-Identifier: Apache-2.0
// Edits a schedule in a dialog, with its next runs.

import {path} from '../api.js';
import {openDialog} from '../dialogs.js';
import {h, replace, set, setText} from '../dom.js';
import {t} from '../i18n.js';
import {attempt, errorText} from '../messages.js';
import {zonePicker} from '../widgets/zonePicker.js';
import {kindChoice} from './announceContent.js';
import {itemsEditor} from './announceItems.js';
import {displayEditor, field, numberField, speechEditor} from './announceParts.js';
import {recordingEditor} from './announceRecordings.js';
import {PartType, audioOf, cleaned, definitionOf, momentOf, setMoment, whatIsMissing, withAudio}
    from './schedulesModel.js';
import {momentText, weekdayName} from './schedulesText.js';

const runCount = 5;
const runsPause = 300;
const usualValidity = 30;

/// Opens the editor of a definition; one with the `Id` 0 is new.
export function openScheduleEditor({app, lists, definition}) {
    const editor = new ScheduleEditor(app, lists, definition);
    editor.open();
}

class ScheduleEditor {
    constructor(app, lists, definition) {
        this.app = app;
        this.lists = lists;
        this.definition = structuredClone(definition);
        this.isNew = definition.Id === 0;
        this.original = this.reported();
        this.picker = zonePicker({store: app.store, chosen: definition.paZones,
            onChange: (paZones) => this.change({paZones})});
        this.runs = h('ol', {class: 'run-list'});
        this.runsStatus = h('p', {class: 'note', role: 'status'});
        this.note = h('p', {class: 'problem', role: 'status', hidden: true});
        this.reason = h('span', {class: 'note'});
        this.save = h('button', {type: 'button', class: 'primary', on: {click: () => this.send()}},
            t(this.isNew ? 'schedules.create' : 'schedules.save'));
    }

    open() {
        const part = (title, ...content) => h('section', {class: 'editor-part'}, h('h3', {}, title), content);
        this.dialog = openDialog({
            title: this.isNew ? t('schedules.newTitle') : t('schedules.editTitle', {id: String(this.definition.Id)}),
            content: [h('div', {class: 'schedule-editor'},
                part(t('schedules.when'), this.times(), this.runsStatus, this.runs),
                part(t('announce.zones'), this.picker.element),
                part(t('announce.content'), this.content())), this.note],
            footer: [this.reason,
                h('button', {type: 'button', on: {click: () => this.dialog.close()}}, t('dialog.cancel')), this.save],
            onClose: () => this.close(),
        });
        this.endFollowing = this.app.store.subscribe(['schedules', 'status'], () => this.takeChanges());
        this.change({});
    }

    close() {
        this.abort?.abort();
        clearTimeout(this.timer);
        this.endFollowing();
        this.picker.destroy();
    }

    reported() {
        const record = this.app.store.get('schedules', this.definition.Id);
        return record ? JSON.stringify(definitionOf(record)) : null;
    }

    /// Another page may edit or delete the same schedule.
    takeChanges() {
        if (!this.isNew) {
            const now = this.reported();
            setText(this.note, now === null ? t('schedules.deletedMeanwhile') : t('schedules.changedMeanwhile'));
            set(this.note, 'hidden', now === this.original);
        }
        this.showReadiness();
    }

    change(part) {
        Object.assign(this.definition, part);
        this.showReadiness();
        clearTimeout(this.timer);
        this.timer = setTimeout(() => this.fetchRuns(), runsPause);
    }

    showReadiness() {
        const missing = this.areTimesWrong ? 'schedules.missing.times' : whatIsMissing(this.definition);
        const why = this.app.whyNot() ?? (missing && t(missing));
        set(this.save, 'disabled', why !== null || this.isSending);
        setText(this.reason, why ?? '');
    }

    // ------------------------------------------------------------------------------------- its parts

    times() {
        const inputs = {};
        const take = () => {
            const all = Object.values(inputs).flatMap((one) => [one.date, one.time]);
            this.areTimesWrong = all.some((input) => !input.validity.valid);
            if (!this.areTimesWrong) {
                for (const which of ['start', 'end']) {
                    setMoment(this.definition, which, {date: inputs[which].date.value, time: inputs[which].time.value});
                }
            }
            this.change({});
        };
        const fields = ['start', 'end'].flatMap((which) => {
            const {date, time} = momentOf(this.definition, which);
            inputs[which] = {
                date: h('input', {type: 'date', required: true, min: '1970-01-01', max: '2099-12-31', value: date,
                    on: {input: take}}),
                time: h('input', {type: 'time', required: true, value: time, on: {input: take}}),
            };
            return [field(t(`schedules.${which}Date`), inputs[which].date),
                field(t(`schedules.${which}Time`), inputs[which].time)];
        });
        const days = h('fieldset', {class: 'days'}, h('legend', {}, t('schedules.days')),
            [0, 1, 2, 3, 4, 5, 6].map((day) => {
                const box = h('input', {type: 'checkbox', checked: (this.definition.dayMask & (1 << day)) !== 0,
                    'aria-label': weekdayName(day, 'long'),
                    on: {change: () => this.change({dayMask: this.definition.dayMask ^ (1 << day)})}});
                return h('label', {class: 'check'}, box, h('span', {}, weekdayName(day)));
            }));
        const name = h('input', {type: 'text', maxlength: 200, dir: 'auto', value: this.definition.descrption,
            'data-autofocus': '', on: {input: () => this.change({descrption: name.value})}});
        const every = numberField(t('schedules.frequency'), this.definition.frequency,
            {min: 0, max: 1440, note: t('schedules.frequencyNote')}, (frequency) => this.change({frequency}));
        return h('div', {class: 'stack'}, field(t('schedules.description'), name),
            h('div', {class: 'option-grid'}, fields, every), days);
    }

    content() {
        const d = this.definition;
        const audio = h('div', {class: 'compose-audio'});
        const showAudio = () => replace(audio, this.audioEditor());
        const display = h('div', {class: 'compose-display'}, displayEditor({
            value: {template: d.displayTemplateName, variables: Object.entries(d.displayTemplateKeyValueList),
                validity: d.displayTemplateValidityPeriodSeconds || usualValidity},
            onChange: (value) => this.change({displayTemplateName: value.template,
                displayTemplateKeyValueList: Object.fromEntries(value.variables.filter(([key]) => key)),
                displayTemplateValidityPeriodSeconds: value.validity})}));
        const hasDisplay = h('input', {type: 'checkbox', checked: d.visualAnnouncementType !== PartType.None,
            on: {change: () => {
                set(display, 'hidden', !hasDisplay.checked);
                this.change({visualAnnouncementType: hasDisplay.checked ? PartType.Display : PartType.None,
                    displayTemplateValidityPeriodSeconds: d.displayTemplateValidityPeriodSeconds || usualValidity});
            }}});
        set(display, 'hidden', !hasDisplay.checked);
        showAudio();
        const relative = h('input', {type: 'checkbox', checked: d.priorityMode === 1,
            on: {change: () => this.change({priorityMode: relative.checked ? 1 : 0})}});
        const gain = h('input', {type: 'number', min: -96, max: 42, step: 0.5, value: d.gain || '',
            on: {input: () => gain.validity.valid && this.change({gain: gain.value === '' ? 0 : gain.valueAsNumber})}});
        return h('div', {class: 'stack'},
            kindChoice('schedule-audio', ['texts', 'items', 'recording', 'none'], audioOf(d), (kind) => {
                this.definition = withAudio(this.definition, kind);
                this.change({});
                showAudio();
            }),
            audio,
            h('label', {class: 'check'}, hasDisplay, h('span', {}, t('compose.display'))), display,
            h('details', {class: 'options'}, h('summary', {}, t('compose.options')), h('div', {class: 'option-grid'},
                numberField(t('compose.priority'), d.priorityLevel, {min: -100000, max: 100000},
                    (priorityLevel) => this.change({priorityLevel})),
                h('label', {class: 'check'}, relative, h('span', {}, t('compose.relative'))),
                this.chime(), field(t('compose.gain'), gain, t('compose.gainNote')))));
    }

    audioEditor() {
        const d = this.definition;
        const {app, lists} = this;
        const first = d.ttsList[0];
        return {
            none: () => [],
            texts: () => speechEditor({app, texts: d.ttsList.length > 0 ? d.ttsList.map((spoken) => spoken.text) : [''],
                voice: first ? {language: first.language, voice: first.voice} : null,
                onChange: ({texts, voice}) => this.change({ttsList: texts.map((text, i) =>
                    ({...this.definition.ttsList[i] ?? first, ...voice, text}))})}),
            items: () => [itemsEditor({dictionary: lists.dictionary, value: d.dictionaryItems,
                onChange: (dictionaryItems) => this.change({dictionaryItems})}),
            numberField(t('compose.repeat'), d.repeatCnt, {min: 1, max: 1000}, (repeatCnt) => this.change({repeatCnt}))],
            recording: () => recordingEditor({app, value: d.storedDataFilePath,
                onChange: (storedDataFilePath) => this.change({storedDataFilePath})}),
        }[audioOf(d)]();
    }

    /// The number of a chime, or its name.
    chime() {
        const {chime} = this.definition;
        const chimes = this.lists.chimes ?? [];
        if (chimes.length === 0) {
            const input = h('input', {type: 'text', maxlength: 100, value: chime,
                on: {input: () => this.change({chime: input.value})}});
            return field(t('compose.preChime'), input);
        }
        const isKnown = chime === '' || chimes.some((one) => String(one.item) === chime);
        const select = h('select', {value: chime, on: {change: () => this.change({chime: select.value})}},
            h('option', {value: ''}, t('compose.noChime')), !isKnown && h('option', {value: chime}, chime),
            chimes.map((one) => h('option', {value: String(one.item)}, one.text)));
        return field(t('compose.preChime'), select);
    }

    // ---------------------------------------------------------------------------------- the gateway

    async fetchRuns() {
        this.abort?.abort();
        const abort = new AbortController();
        this.abort = abort;
        if (this.areTimesWrong || this.app.store.link().state !== 'synced') {
            return;
        }
        try {
            const {runs} = await this.app.api.ask('/schedules/runs',
                {schedule: cleaned(this.definition), count: runCount}, {signal: abort.signal});
            setText(this.runsStatus, runs.length === 0 ? t('schedules.noRuns') : t('schedules.nextRuns'));
            replace(this.runs, runs.map((run) => h('li', {}, momentText(run))));
        } catch (error) {
            if (!abort.signal.aborted) {
                setText(this.runsStatus, errorText(error));
                replace(this.runs);
            }
        }
    }

    async send() {
        this.isSending = true;
        this.showReadiness();
        const body = cleaned(this.definition);
        const answer = await attempt(() => this.isNew ? this.app.api.operate('POST', '/schedules', body)
            : this.app.api.operate('PUT', path`/schedules/${body.Id}`, body),
        t(this.isNew ? 'schedules.created' : 'schedules.saved'));
        this.isSending = false;
        if (answer) {
            this.dialog.close();
        } else {
            this.showReadiness();
        }
    }
}
