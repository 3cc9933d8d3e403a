// SPDX-License-Identifier: Apache-2.0
// The schedules of the server as a table and as a week.

import {path, prefix} from '../api.js';
import {confirm, openDialog} from '../dialogs.js';
import {compareNames} from '../format.js';
import {h, replace, set, setText} from '../dom.js';
import {t} from '../i18n.js';
import {icon} from '../icons.js';
import {attempt, toast} from '../messages.js';
import {wallOf} from '../StationClock.js';
import {fetchLists} from './announceContent.js';
import {openScheduleEditor} from './schedulesEditor.js';
import {blankSchedule, definitionOf} from './schedulesModel.js';
import {contentText, daysText, momentText, nameOf, periodText, timesText} from './schedulesText.js';
import {weekView} from './schedulesWeek.js';

const mostRows = 300;
const forms = ['table', 'week'];
const columns = ['name', 'times', 'days', 'period', 'zones', 'content', 'nextRun'];

function mount(root, app, parts) {
    const view = new Schedules(app);
    root.append(view.element);
    view.update(parts);
    return {unmount: () => view.close(), update: (next) => view.update(next), shortcuts: [
        {key: '/', text: t('search.label'), run: () => view.search.focus()},
        {key: 'n', text: t('schedules.new'), run: () => view.edit(null)},
        {key: 'w', text: t('schedules.form.week'), run: () =>
            app.go('schedules', view.form === 'week' ? 'table' : 'week')},
    ]};
}

class Schedules {
    constructor(app) {
        this.app = app;
        this.form = 'table';
        this.nextRuns = new Map();  // by number; they change with time, without an event
        this.abort = new AbortController();
        this.search = h('input', {type: 'search', maxlength: 200, autocomplete: 'off', 'aria-label': t('search.label'),
            placeholder: t('search.label'), on: {input: () => this.fill()}});
        this.tabs = forms.map((form) => h('a', {href: `#schedules/${form}`, class: 'tab'}, t(`schedules.form.${form}`)));
        this.week = weekView({store: app.store, today: () => this.today(), open: (id) => this.edit(id)});
        this.body = h('tbody', {});
        this.note = h('p', {class: 'note', role: 'status'});
        this.table = h('div', {class: 'table-frame', role: 'region', 'aria-label': t('schedules.title'), tabindex: '0'},
            h('table', {class: 'schedule-table'}, h('thead', {}, h('tr', {},
                columns.map((name) => h('th', {scope: 'col'}, t(`schedules.${name}`))),
                h('th', {scope: 'col'}, h('span', {class: 'visually-hidden'}, t('schedules.actions'))))), this.body));
        this.file = h('input', {type: 'file', accept: '.json,application/json', class: 'visually-hidden', tabindex: '-1',
            'aria-label': t('schedules.import'), on: {change: () => this.import()}});
        this.changing = [
            h('button', {type: 'button', class: 'primary', on: {click: () => this.edit(null)}},
                icon('plus'), t('schedules.new')),
            h('button', {type: 'button', on: {click: () => this.file.click()}}, icon('upload'), t('schedules.import')),
        ];
        const isOperator = app.session.role === 'operator';
        this.element = h('div', {class: 'schedules'},
            h('div', {class: 'toolbar'},
                h('nav', {class: 'tabs', 'aria-label': t('schedules.forms')}, this.tabs), this.search,
                isOperator && this.changing, isOperator && this.file,
                h('a', {class: 'button', href: `${prefix}/schedules/export`, download: 'schedules.json'},
                    icon('download'), t('schedules.export'))),
            this.table, this.week.element, this.note);
        this.endFollowing = app.store.subscribe(['schedules', 'status'], (changes) => this.take(changes));
        this.timer = setInterval(() => this.tick(), 1000);
        this.fill();
        this.fetchNextRuns();
    }

    close() {
        this.abort.abort();
        clearInterval(this.timer);
        this.endFollowing();
    }

    update([form]) {
        this.form = forms.includes(form) ? form : 'table';
        this.tabs.forEach((tab, i) => set(tab, 'aria-current', forms[i] === this.form ? 'true' : null));
        set(this.table, 'hidden', this.form !== 'table');
        set(this.search, 'hidden', this.form !== 'table');
        set(this.week.element, 'hidden', this.form !== 'week');
        this.fill();
    }

    take(changes) {
        if (changes.has('schedules')) {
            this.fill();
            this.fetchNextRuns();
        }
        this.changing.forEach((button) => set(button, 'disabled', this.app.whyNot() !== null));
    }

    /// The date at the station, as "2026-12-01".
    today() {
        return new Date(this.app.store.clock.wallNow() ?? Date.now()).toISOString().slice(0, 10);
    }

    // -------------------------------------------------------------------------------------- the table

    fill() {
        if (this.form === 'week') {
            this.week.fill();
            setText(this.note, this.app.store.count('schedules') === 0 ? t('schedules.none') : '');
            return;
        }
        const words = this.search.value.trim().toLocaleLowerCase().split(/\s+/);
        const all = this.app.store.all('schedules').sort((a, b) => compareNames(nameOf(a), nameOf(b)) || a.Id - b.Id);
        const found = all.filter((schedule) => {
            const text = [nameOf(schedule), ...schedule.paZones, contentText(schedule)].join('\n').toLocaleLowerCase();
            return words.every((word) => text.includes(word));
        });
        const focused = this.body.contains(document.activeElement) ? document.activeElement.dataset.action : null;
        replace(this.body, found.slice(0, mostRows).map((schedule) => this.row(schedule)));
        if (focused) {
            [...this.body.querySelectorAll('button')].find((button) => button.dataset.action === focused)?.focus();
        }
        setText(this.note, all.length === 0 ? t('schedules.none') : found.length === 0 ? t('list.noMatch')
            : found.length > mostRows ? t('zones.more', {n: found.length - mostRows})
                : t('schedules.count', {n: found.length}));
        this.showNextRuns();
    }

    row(schedule) {
        const id = schedule.Id;
        const cell = (name, ...content) => h('td', {'data-label': t(`schedules.${name}`)}, content);
        const button = (name, text, click) => h('button', {type: 'button', class: 'quiet icon-button',
            'data-action': `${name}-${id}`, 'aria-label': text, on: {click}}, icon(name));
        const canChange = this.app.session.role === 'operator';
        return h('tr', {'data-schedule': id},
            h('th', {scope: 'row', dir: 'auto'}, nameOf(schedule)),
            cell('times', timesText(schedule)),
            cell('days', daysText(schedule.dayMask)),
            cell('period', periodText(schedule)),
            cell('zones', h('bdi', {}, schedule.paZones.join(', '))),
            cell('content', h('bdi', {}, contentText(schedule))),
            h('td', {'data-label': t('schedules.nextRun'), 'data-run': id}),
            h('td', {class: 'actions'}, canChange && [
                button('edit', t('schedules.editOf', {name: nameOf(schedule)}), () => this.edit(id)),
                button('trash', t('schedules.deleteOf', {name: nameOf(schedule)}), () => this.remove(schedule))]));
    }

    showNextRuns() {
        this.body.querySelectorAll('[data-run]').forEach((cell) => {
            const run = this.nextRuns.get(Number(cell.dataset.run));
            setText(cell, run === undefined ? '' : run === '' ? t('schedules.never') : momentText(run));
        });
    }

    async fetchNextRuns() {
        if (this.isFetching) {
            this.isDue = true;
            return;
        }
        this.isFetching = true;
        this.isDue = false;
        try {
            const {schedules} = await this.app.api.get('/schedules', {signal: this.abort.signal});
            this.nextRuns = new Map(schedules.map((schedule) => [schedule.Id, schedule.nextRun]));
            this.showNextRuns();
        } catch {
            // It is tried again at the next change or run.
        }
        this.isFetching = false;
        if (this.isDue) {
            this.fetchNextRuns();
        }
    }

    tick() {
        const now = this.app.store.clock.wallNow();
        const isPast = (run) => run && now !== null && wallOf(run) < now - 1000;
        if (!document.hidden && [...this.nextRuns.values()].some(isPast)) {
            this.fetchNextRuns();
        }
    }

    // ------------------------------------------------------------------------------------ operations

    /// Opens the editor of a schedule, of a new one for null.
    async edit(id) {
        const record = id === null ? null : this.app.store.get('schedules', id);
        if (this.app.session.role !== 'operator' || (id !== null && !record)) {
            return;
        }
        const lists = await attempt(() => fetchLists(this.app.api, this.abort.signal));
        if (lists && !this.abort.signal.aborted) {
            openScheduleEditor({app: this.app, lists,
                definition: record ? definitionOf(record) : blankSchedule(this.today())});
        }
    }

    async remove(schedule) {
        const isSure = await confirm({title: t('schedules.deleteTitle'), isDangerous: true,
            text: t('schedules.deleteText', {name: nameOf(schedule)}), action: t('schedules.delete')});
        if (isSure) {
            await attempt(() => this.app.api.operate('DELETE', path`/schedules/${schedule.Id}`), t('schedules.deleted'));
        }
    }

    async import() {
        const [file] = this.file.files;
        set(this.file, 'value', '');
        if (!file) {
            return;
        }
        let list;
        try {
            list = JSON.parse(await file.text());
        } catch {
            toast(t('schedules.notJson', {name: file.name}), 'error');
            return;
        }
        const known = new Set(this.app.store.all('schedules').map((schedule) => schedule.Id));
        const taken = Array.isArray(list) ? list.filter((one) => known.has(one?.Id)).length : 0;
        const isReplacing = taken > 0 && await confirm({title: t('schedules.import'), isDangerous: true,
            text: t('schedules.replaceText', {n: taken}), action: t('schedules.replace')});
        if (taken > 0 && !isReplacing) {
            return;
        }
        const answer = await attempt(() => this.app.api.operate('POST', '/schedules/import', list,
            {query: isReplacing ? {replace: 1} : {}}), (result) => t('schedules.imported', {n: result.imported}));
        if (answer?.failed?.length > 0) {
            openDialog({title: t('schedules.failed'), content: [h('ul', {}, answer.failed.map((one) =>
                h('li', {dir: 'auto'}, t('schedules.failedEntry', {entry: String(one.entry), reason: one.reason}))))]});
        }
    }
}

export default {id: 'schedules', titleKey: 'schedules.title', icon: 'schedules', roles: ['operator', 'monitor'], mount};
