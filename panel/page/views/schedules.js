// SPDX-License-Identifier: Apache-2.0
// The schedules of the server as a table and as a week.

import {path, prefix} from '../api.js';
import {confirm} from '../dialogs.js';
import {h, set, setText} from '../dom.js';
import {t} from '../i18n.js';
import {icon} from '../icons.js';
import {attempt} from '../messages.js';
import {wordsOf} from '../widgets/search.js';
import {ScheduleEditor} from './ScheduleEditor.js';
import {SchedulesTable} from './SchedulesTable.js';
import {importSchedules} from './schedulesImport.js';
import {blankSchedule, definitionOf} from './schedulesModel.js';
import {nameOf} from './schedulesText.js';
import {weekView} from './schedulesWeek.js';

const forms = ['table', 'week'];

function mount(root, app, parts) {
    const view = new Schedules(app);
    root.append(view.element);
    view.update(parts);
    const ofOperator = {key: 'n', text: t('schedules.new'), run: () => view.edit('new')};
    return {unmount: () => view.close(), update: (next) => view.update(next), shortcuts: [
        {key: '/', text: t('search.label'), run: () => view.search.focus()},
        ...view.isOperator ? [ofOperator] : [],
        {key: 'w', text: t('schedules.switch'), run: () =>
            app.go('schedules', view.form === 'week' ? 'table' : 'week')},
    ]};
}

class Schedules {
    constructor(app) {
        this.app = app;
        this.form = 'table';
        this.edited = '';
        this.editor = null;
        this.opener = null;
        this.next = null;
        this.isClosed = false;
        this.day = this.today();
        this.isOperator = app.session.role === 'operator';
        this.search = h('input', {type: 'search', maxlength: 200, autocomplete: 'off', 'aria-label': t('search.label'),
            placeholder: t('search.label'), on: {input: () => this.fill()}});
        this.tabs = forms.map((form) => h('a', {href: `#schedules/${form}`, class: 'tab'}, t(`schedules.form.${form}`)));
        this.table = new SchedulesTable(app, this.isOperator ? {
            edit: {text: (name) => t('schedules.editOf', {name}), run: (schedule) => this.edit(schedule.Id)},
            trash: {text: (name) => t('schedules.deleteOf', {name}), run: (schedule) => this.remove(schedule)},
        } : {});
        this.week = weekView({store: app.store, today: () => this.today(),
            open: this.isOperator ? (id) => this.edit(id) : null});
        this.note = h('p', {class: 'note', role: 'status'});
        this.file = h('input', {type: 'file', accept: '.json,application/json', hidden: true,
            on: {change: () => this.import()}});
        this.changing = [
            h('button', {type: 'button', class: 'primary', on: {click: () => this.edit('new')}},
                icon('plus'), t('schedules.new')),
            h('button', {type: 'button', on: {click: () => this.file.click()}}, icon('upload'), t('schedules.import')),
        ];
        this.element = h('div', {class: 'schedules'},
            h('div', {class: 'toolbar'},
                h('nav', {class: 'tabs', 'aria-label': t('schedules.forms')}, this.tabs), this.search,
                this.isOperator && this.changing, this.isOperator && this.file,
                h('a', {class: 'button', href: `${prefix}/schedules/export`, download: 'schedules.json'},
                    icon('download'), t('schedules.export'))),
            this.table.element, this.week.element, this.note);
        this.endFollowing = app.store.subscribe(['schedules', 'status'], (changes) => this.take(changes));
        this.timer = setInterval(() => this.tick(), 1000);
        this.showAccess();
        this.table.fetchNextRuns();
    }

    close() {
        this.isClosed = true;
        this.table.close();
        this.week.close();
        clearInterval(this.timer);
        this.endFollowing();
    }

    /// `id` is the number of the schedule that is edited, 'new' for a new one.
    update([form, id = '']) {
        this.form = forms.includes(form) ? form : 'table';
        this.tabs.forEach((tab, i) => set(tab, 'aria-current', forms[i] === this.form ? 'true' : null));
        set(this.table.element, 'hidden', this.form !== 'table');
        set(this.search, 'hidden', this.form !== 'table');
        set(this.week.element, 'hidden', this.form !== 'week');
        this.fill();
        if (id !== this.edited) {
            this.editor?.close();
            this.edited = id;
        }
        this.openEditor();
    }

    take(changes) {
        if (changes.has('schedules')) {
            this.fill();
            this.table.fetchNextRuns();
            this.openEditor();
        }
        this.showAccess();
    }

    showAccess() {
        const isAllowed = this.app.whyNot() === null;
        this.changing.forEach((button) => set(button, 'disabled', !isAllowed));
        this.table.setAllowed(isAllowed);
    }

    tick() {
        this.table.tick();
        if (this.day !== this.today()) {
            this.day = this.today();
            this.fill();
        }
    }

    /// The date at the station, as "2026-12-01".
    today() {
        return new Date(this.app.store.clock.wallNow() ?? Date.now()).toISOString().slice(0, 10);
    }

    fill() {
        const total = this.app.store.count('schedules');
        if (this.form === 'week') {
            this.week.fill();
            setText(this.note, total === 0 ? t('schedules.none') : '');
            return;
        }
        const {count, displayed} = this.table.fill(wordsOf(this.search));
        setText(this.note, total === 0 ? t('schedules.none') : count === 0 ? t('list.noMatch')
            : count > displayed ? t('zones.more', {n: count - displayed}) : t('schedules.count', {n: count}));
    }

    // ------------------------------------------------------------------------------------ operations

    /// Edits a schedule, a new one for 'new'.
    edit(id) {
        this.opener = document.activeElement;
        if (this.editor) {
            this.next = id;  // it is closed, its event is to come
        } else {
            this.app.go('schedules', this.form, String(id));
        }
    }

    /// Opens the editor that the address names, when its schedule is known.
    openEditor() {
        const record = this.app.store.get('schedules', Number(this.edited));
        const isThere = this.edited === 'new' || record;
        if (this.editor || !this.edited || !isThere || !this.isOperator) {
            return;
        }
        const address = location.hash;
        this.editor = new ScheduleEditor({app: this.app,
            definition: this.edited === 'new' ? blankSchedule(this.today()) : definitionOf(record),
            reopen: () => { location.hash = address; },
            onClose: () => {
                this.editor = null;
                if (this.isClosed) {
                    return;  // after a login the address opens the editor again
                }
                if (location.hash === address) {
                    this.edited = '';
                    history.replaceState(null, '', `#schedules/${this.form}`);
                }
                this.returnTo(this.opener);
                this.openEditor();
                if (this.next !== null) {
                    this.app.go('schedules', this.form, String(this.next));
                    this.next = null;
                }
            }});
    }

    /// The button that has opened a dialog may have been made again meanwhile.
    returnTo(opener) {
        if (!opener || opener.isConnected) {
            return;
        }
        if (opener.dataset.action) {
            this.table.focusAction(opener.dataset.action);
        } else {
            this.week.focus(opener.dataset.event);
        }
    }

    async remove(schedule) {
        const opener = document.activeElement;
        const isSure = await confirm({title: t('schedules.deleteTitle'), isDangerous: true,
            text: t('schedules.deleteText', {name: nameOf(schedule)}), action: t('schedules.delete')});
        this.returnTo(opener);
        if (isSure) {
            await attempt(() => this.app.api.operate('DELETE', path`/schedules/${schedule.Id}`), t('schedules.deleted'));
        }
    }

    import() {
        const [file] = this.file.files;
        set(this.file, 'value', '');
        if (file) {
            importSchedules(this.app, file);
        }
    }
}

export default {id: 'schedules', titleKey: 'schedules.title', icon: 'schedules', roles: ['operator', 'monitor'], mount};
