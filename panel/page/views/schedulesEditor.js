// SPDX-License-Identifier: Apache-2.0
// Edits a schedule in a dialog, with its next runs.

import {path} from '../api.js';
import {openDialog} from '../dialogs.js';
import {append, h, replace, set, setText} from '../dom.js';
import {t} from '../i18n.js';
import {announce, attempt, errorText} from '../messages.js';
import {knownZone} from '../timeZones.js';
import {zonePicker} from '../widgets/zonePicker.js';
import {field} from './announceParts.js';
import {scheduleContent} from './schedulesContent.js';
import {cleaned, definitionOf, whatIsMissing} from './schedulesModel.js';
import {momentText} from './schedulesText.js';
import {timesEditor} from './schedulesTimes.js';

const runCount = 5;
const runsPause = 300;

/// Opens the editor of a definition; one with the `Id` 0 is new. `onClose()` is called once.
export function openScheduleEditor({app, lists, definition, onClose}) {
    const editor = new ScheduleEditor(app, lists, definition);
    editor.open(onClose);
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
        this.form = h('div', {class: 'schedule-editor', on: {input: () => this.showReadiness()}});
        this.runs = h('ol', {class: 'run-list'});
        this.runsStatus = h('p', {class: 'note', role: 'status'});
        this.note = h('p', {class: 'problem', hidden: true});
        this.reason = h('p', {class: 'note', role: 'status'});
        this.save = h('button', {type: 'button', class: 'primary', on: {click: () => this.send()}});
    }

    open(onClose) {
        const d = this.definition;
        const part = (title, ...content) => h('section', {class: 'editor-part'}, h('h3', {}, title), content);
        const change = (changed) => this.change(changed);
        const name = h('input', {type: 'text', maxlength: 200, dir: 'auto', value: d.descrption,
            'data-autofocus': '', on: {input: () => change({descrption: name.value})}});
        append(this.form, [
            part(t('schedules.when'), field(t('schedules.description'), name), timesEditor({definition: d, onChange: change}),
                h('p', {class: 'note'}, t('frame.times', {zone: knownZone(this.app.store.status?.timeZone)})),
                this.runsStatus, this.runs),
            part(t('announce.zones'), this.picker.element),
            part(t('announce.content'), scheduleContent({app: this.app, lists: this.lists, definition: d, change}))]);
        this.dialog = openDialog({
            title: this.isNew ? t('schedules.newTitle') : t('schedules.editTitle', {id: String(d.Id)}),
            content: [this.form],
            footer: [this.note, this.reason,
                h('button', {type: 'button', on: {click: () => this.dialog.close()}}, t('dialog.cancel')), this.save],
            onClose: () => {
                this.close();
                onClose();
            },
        });
        this.endFollowing = this.app.store.subscribe(['schedules', 'status'], () => this.takeChanges());
        this.takeChanges();
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
        const now = this.reported();
        const isOther = now !== this.original && !this.isSending;
        if (isOther) {
            const text = now === null ? t('schedules.deletedMeanwhile') : t('schedules.changedMeanwhile');
            if (this.note.hidden || this.note.textContent !== text) {
                announce(text);
            }
            setText(this.note, text);
        }
        set(this.note, 'hidden', !isOther);
        this.isCreating = now === null;
        setText(this.save, t(this.isCreating ? 'schedules.create' : 'schedules.save'));
        this.showReadiness();
    }

    change(part) {
        Object.assign(this.definition, part);
        this.showReadiness();
        clearTimeout(this.timer);
        this.timer = setTimeout(() => this.fetchRuns(), runsPause);
    }

    get isInvalid() {
        return this.form.querySelector(':is(input, select, textarea):invalid:not([hidden] *)') !== null;
    }

    showReadiness() {
        const missing = this.isInvalid ? 'schedules.missing.values' : whatIsMissing(this.definition);
        const why = this.app.whyNot() ?? (missing && t(missing));
        set(this.save, 'disabled', why !== null || this.isSending);
        setText(this.reason, why ?? '');
    }

    // ---------------------------------------------------------------------------------- the gateway

    async fetchRuns() {
        this.abort?.abort();
        const abort = new AbortController();
        this.abort = abort;
        if (this.isInvalid || this.app.store.link().state !== 'synced') {
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
        const {api} = this.app;
        const answer = await attempt(() => this.isCreating ? api.operate('POST', '/schedules', body)
            : api.operate('PUT', path`/schedules/${body.Id}`, body),
        t(this.isCreating ? 'schedules.created' : 'schedules.saved'));
        this.isSending = false;
        if (answer) {
            this.dialog.close();
        } else {
            this.takeChanges();
        }
    }
}
