// SPDX-License-Identifier: Apache-2.0
// Edits a schedule in a dialog, with its next runs.

import {path} from '../api.js';
import {openDialog} from '../dialogs.js';
import {h, replace, set, setText} from '../dom.js';
import {t} from '../i18n.js';
import {announce, attempt, errorText, toast} from '../messages.js';
import {knownZone} from '../timeZones.js';
import {zonePicker} from '../widgets/zonePicker.js';
import {fetchLists} from './announceContent.js';
import {field} from './announceParts.js';
import {scheduleContent} from './schedulesContent.js';
import {cleaned, definitionOf, whatIsMissing} from './schedulesModel.js';
import {momentText, nameOf} from './schedulesText.js';
import {timesEditor} from './schedulesTimes.js';

const runCount = 5;
const runsPause = 300;

/// What was edited and not saved, by user and number: a dialog is closed easily, and with the session. {definition,
/// original}, what the server had when it was opened first.
const unsaved = new Map();

export class ScheduleEditor {
    /// Opens the editor of a definition; one with the `Id` 0 is new. `onClose()` is called once; `reopen()` is for
    /// a user who wants to go on.
    constructor({app, definition, onClose, reopen}) {
        this.app = app;
        this.first = definition;
        this.isNew = definition.Id === 0;
        this.draftKey = `${app.session.user}/${definition.Id}`;
        const kept = unsaved.get(this.draftKey);
        this.isContinued = kept !== undefined;
        this.original = kept ? kept.original : this.reported();
        this.listsAbort = new AbortController();
        this.lists = fetchLists(app.api, this.listsAbort.signal);
        this.form = h('div', {class: 'schedule-editor', on: {input: () => this.showReadiness()}});
        this.runs = h('ol', {class: 'run-list'});
        this.runsStatus = h('p', {class: 'note', role: 'status'});
        this.note = h('p', {class: 'problem', hidden: true});
        this.reason = h('p', {class: 'note', role: 'status'});
        this.save = h('button', {type: 'button', class: 'primary', on: {click: () => this.send()}});
        this.startOver = h('button', {type: 'button', hidden: true, on: {click: () => this.beginAgain()}},
            t('schedules.startOver'));
        this.begin(kept?.definition ?? definition);
        this.dialog = openDialog({
            title: this.isNew ? t('schedules.newTitle') : t('schedules.editTitle', {id: String(definition.Id)}),
            content: [this.form],
            footer: [this.note, this.reason, this.startOver,
                h('button', {type: 'button', on: {click: () => this.discard()}}, t('dialog.cancel')), this.save],
            onClose: () => {
                this.end(reopen);
                onClose();
            },
        });
        this.endFollowing = app.store.subscribe(['schedules', 'status'], () => this.takeChanges());
        this.takeChanges();
    }

    /// Fills the dialog.
    begin(definition) {
        unsaved.delete(this.draftKey);
        this.definition = structuredClone(definition);
        this.picker?.destroy();
        this.picker = zonePicker({store: this.app.store, chosen: definition.paZones,
            onChange: (paZones) => this.change({paZones})});
        const part = (title, ...content) => h('section', {class: 'editor-part'}, h('h3', {}, title), content);
        const name = h('input', {type: 'text', maxlength: 200, dir: 'auto', value: definition.descrption,
            'data-autofocus': '', on: {input: () => this.change({descrption: name.value})}});
        replace(this.form,
            part(t('schedules.when'), field(t('schedules.description'), name),
                timesEditor({definition: this.definition, onChange: (changed) => this.change(changed)}),
                h('p', {class: 'note'}, t('frame.times', {zone: knownZone(this.app.store.status?.timeZone)})),
                this.runsStatus, this.runs),
            part(t('announce.zones'), this.picker.element),
            part(t('announce.content'), this.content()));
        this.change({});
    }

    beginAgain() {
        const record = this.app.store.get('schedules', this.first.Id);
        this.first = record ? definitionOf(record) : this.first;
        this.original = this.reported();
        this.isContinued = false;
        this.begin(this.first);
        this.takeChanges();
        this.form.querySelector('input').focus();
    }

    /// What it plays can be edited when the lists of the server are there.
    content() {
        const {app, definition} = this;
        const place = h('div', {}, h('p', {class: 'note'}, t('list.loading')));
        this.lists.then((lists) => replace(place,
            scheduleContent({app, lists, definition, change: (changed) => this.change(changed)})),
        (error) => replace(place, h('p', {class: 'problem'}, errorText(error))));
        return place;
    }

    close() {
        this.dialog.close();
    }

    discard() {
        this.isDone = true;
        this.close();
    }

    /// The dialog is closed.
    end(reopen) {
        this.listsAbort.abort();
        this.abort?.abort();
        clearTimeout(this.timer);
        this.endFollowing();
        this.picker.destroy();
        if (!this.isDone && this.isChanged) {
            unsaved.set(this.draftKey, {definition: this.definition, original: this.original});
            if (this.app.session.loggedIn) {
                toast(t('schedules.kept', {name: nameOf(this.definition)}), 'note',
                    {label: t('schedules.continue'), run: reopen});
            }
        }
    }

    reported() {
        const record = this.app.store.get('schedules', this.first.Id);
        return record ? JSON.stringify(definitionOf(record)) : null;
    }

    get isChanged() {
        return JSON.stringify(cleaned(this.definition)) !== JSON.stringify(cleaned(this.first));
    }

    /// Another page may edit or delete the same schedule.
    takeChanges() {
        const now = this.reported();
        const isOther = now !== this.original && !this.isSending;
        const text = [this.isContinued && t('schedules.continued'), isOther
            && t(now === null ? 'schedules.deletedMeanwhile' : 'schedules.changedMeanwhile')].filter(Boolean).join(' ');
        if (text && text !== this.note.textContent) {
            announce(text);
        }
        setText(this.note, text);
        set(this.note, 'hidden', text === '');
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

    /// The first control with a value that cannot be; null when there is none.
    get invalid() {
        return this.form.querySelector(':is(input, select, textarea):invalid:not([hidden] *)');
    }

    /// Why the schedule cannot be saved; null when it can.
    whatIsWrong() {
        const control = this.invalid;
        if (control) {
            control.closest('details')?.setAttribute('open', '');
            return t('schedules.missing.value', {name: control.labels[0]?.firstChild.textContent ?? ''});
        }
        const missing = whatIsMissing(this.definition);
        return missing && t(missing);
    }

    showReadiness() {
        const why = this.app.whyNot() ?? this.whatIsWrong();
        set(this.save, 'disabled', why !== null || this.isSending);
        set(this.startOver, 'hidden', !this.isChanged);
        setText(this.reason, why ?? '');
    }

    // ---------------------------------------------------------------------------------- the gateway

    async fetchRuns() {
        this.abort?.abort();
        const abort = new AbortController();
        this.abort = abort;
        if (this.invalid || this.app.store.link().state !== 'synced') {
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
            this.discard();
        } else {
            this.takeChanges();
            this.save.focus();
        }
    }
}
