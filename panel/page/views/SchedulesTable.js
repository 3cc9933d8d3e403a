// SPDX-License-Identifier: Apache-2.0
// The schedules as a table, with their next runs.

import {h, replace, set, setText} from '../dom.js';
import {compareNames} from '../format.js';
import {t} from '../i18n.js';
import {icon} from '../icons.js';
import {wallOf} from '../StationClock.js';
import {matches} from '../widgets/search.js';
import {contentText, daysText, momentText, nameOf, periodText, timesText} from './schedulesText.js';

const mostRows = 300;
const columns = ['name', 'when', 'zones', 'content', 'nextRun'];

/// `actions` of a schedule, for users who may change it: {name of the icon: {text(name), run(schedule)}}.
export class SchedulesTable {
    #app;
    #actions;
    #nextRuns = new Map();  // by number; they change with time, without an event
    #body = h('tbody', {});
    #abort = new AbortController();
    #isFetching = false;
    #isDue = false;
    #isAllowed = false;

    constructor(app, actions) {
        this.#app = app;
        this.#actions = actions;
        this.element = h('div', {class: 'table-frame', role: 'region', 'aria-label': t('schedules.title'), tabindex: '0'},
            h('table', {class: 'schedule-table'}, h('thead', {}, h('tr', {},
                columns.map((name) => h('th', {scope: 'col', 'data-column': name}, t(`schedules.${name}`))),
                h('th', {scope: 'col', 'data-column': 'actions'},
                    h('span', {class: 'visually-hidden'}, t('schedules.actions'))))), this.#body));
    }

    close() {
        this.#abort.abort();
    }

    /// Displays the schedules that have these words; returns how many there are, and how many are displayed.
    fill(words) {
        const found = this.#app.store.all('schedules').filter((schedule) =>
            matches(words, nameOf(schedule), ...schedule.paZones, contentText(schedule)));
        found.sort((a, b) => compareNames(nameOf(a), nameOf(b)) || a.Id - b.Id);
        const buttons = this.#buttons();
        const at = buttons.indexOf(document.activeElement);
        const displayed = found.slice(0, mostRows);
        replace(this.#body, displayed.map((schedule) => this.#row(schedule)));
        if (at >= 0) {
            this.focusAction(buttons[at].dataset.action, at);
        }
        this.#showNextRuns();
        return {count: found.length, displayed: displayed.length};
    }

    /// Gives the focus to the button of an action, or to what is in its place when its schedule is deleted.
    focusAction(action, at = 0) {
        const buttons = this.#buttons();
        (buttons.find((button) => button.dataset.action === action) ?? buttons[Math.min(at, buttons.length - 1)]
            ?? this.element).focus();
    }

    /// Asks for the next runs, again when one has begun.
    async fetchNextRuns() {
        this.#isDue = true;
        while (this.#isDue && !this.#isFetching) {
            this.#isFetching = true;
            this.#isDue = false;
            try {
                const {schedules} = await this.#app.api.get('/schedules', {signal: this.#abort.signal});
                this.#nextRuns = new Map(schedules.map((schedule) => [schedule.Id, schedule.nextRun]));
                this.#showNextRuns();
            } catch {
                // It is tried again at the next change or run.
            }
            this.#isFetching = false;
        }
    }

    tick() {
        const now = this.#app.store.clock.wallNow();
        const isPast = (run) => run && now !== null && wallOf(run) < now - 1000;
        if (!document.hidden && [...this.#nextRuns.values()].some(isPast)) {
            this.fetchNextRuns();
        }
    }

    /// Whether schedules can be changed now.
    setAllowed(isAllowed) {
        this.#isAllowed = isAllowed;
        this.#buttons().forEach((button) => set(button, 'disabled', !isAllowed));
    }

    #buttons() {
        return [...this.#body.querySelectorAll('button')];
    }

    #row(schedule) {
        const cell = (name, ...content) => h('td', {'data-label': t(`schedules.${name}`)}, content);
        const buttons = Object.entries(this.#actions).map(([name, {text, run}]) => h('button', {type: 'button',
            class: 'quiet icon-button', 'data-action': `${name}-${schedule.Id}`, 'aria-label': text(nameOf(schedule)),
            disabled: !this.#isAllowed, on: {click: () => run(schedule)}}, icon(name)));
        return h('tr', {'data-schedule': schedule.Id},
            h('th', {scope: 'row', dir: 'auto'}, nameOf(schedule)),
            cell('when', h('ul', {}, [timesText(schedule), daysText(schedule.dayMask), periodText(schedule)]
                .map((text) => h('li', {}, text)))),
            cell('zones', h('bdi', {}, schedule.paZones.join(', '))),
            cell('content', h('bdi', {}, contentText(schedule))),
            h('td', {'data-label': t('schedules.nextRun'), 'data-run': schedule.Id}),
            h('td', {class: 'actions'}, buttons));
    }

    #showNextRuns() {
        this.#body.querySelectorAll('[data-run]').forEach((cell) => {
            const run = this.#nextRuns.get(Number(cell.dataset.run));
            setText(cell, run === undefined ? '' : run === '' ? t('schedules.never') : momentText(run));
            set(cell, 'data-none', run === '' ? '' : null);
        });
    }
}
