// SPDX-License-Identifier: Apache-2.0
// When schedules run in a week, by the clocks of the station: seven columns, or the days below each other when
// these do not have the space, or too much is at the same time.

import {h, replace, set, setText} from '../dom.js';
import {t} from '../i18n.js';
import {icon} from '../icons.js';
import {addDays, clockText, layOut, minutesOfDay, mondayOf, windowsInWeek} from './schedulesModel.js';
import {contentText, dateText, nameOf, windowText, weekdayText} from './schedulesText.js';

const leastWidth = 900;   // pixels, for seven columns
const mostBeside = 2;
const leastMinutes = 40;  // of the drawing, so that a window's text has space

/// `today()` is the station's date; `open(id)` edits a schedule, null for users who may not.
export function weekView({store, today, open}) {
    let monday = null;
    let beside = 1;  // windows at the same time
    const arrange = () => set(grid, 'data-list',
        beside > mostBeside || element.clientWidth < leastWidth ? '' : null);
    const title = h('h2', {class: 'week-title', 'aria-live': 'polite'});
    const grid = h('div', {class: 'week'});
    const turn = (days) => {
        monday = days === 0 ? mondayOf(today()) : addDays(monday, days);
        fill();
    };
    const button = (name, label, days) => h('button', {type: 'button', class: 'quiet icon-button week-turn',
        'data-direction': name, 'aria-label': label, on: {click: () => turn(days)}}, icon('up'));
    const element = h('div', {class: 'week-view'},
        h('div', {class: 'row'}, h('div', {class: 'week-turns'}, button('back', t('schedules.weekBefore'), -7), title,
            button('on', t('schedules.weekAfter'), 7)),
        h('button', {type: 'button', on: {click: () => turn(0)}}, t('schedules.thisWeek'))), grid);

    function event(window) {
        const {schedule} = window;
        const name = nameOf(schedule);
        const times = windowText(window);
        const attributes = {class: 'week-event', 'data-event': `${schedule.Id}-${window.day}-${window.from}`,
            title: [`${name} ${times}`, schedule.paZones.join(', '), contentText(schedule)].join('\n')};
        const content = h('span', {}, h('strong', {dir: 'auto'}, name), ' ', times);
        const element = open === null ? h('div', attributes, content)
            : h('button', {...attributes, type: 'button', on: {click: () => open(schedule.Id)}}, content);
        const length = Math.max(window.to - window.from, leastMinutes);
        const top = Math.min(window.from, minutesOfDay - leastMinutes);
        element.style.setProperty('--from', top / minutesOfDay);
        element.style.setProperty('--length', Math.min(length, minutesOfDay - top) / minutesOfDay);
        element.style.setProperty('--column', window.column / window.columns);
        element.style.setProperty('--width', 1 / window.columns);
        return element;
    }

    function focus(name) {
        [...grid.querySelectorAll('button')].find((button) => button.dataset.event === name)?.focus();
    }

    function fill() {
        const focused = grid.contains(document.activeElement) ? document.activeElement.dataset.event : null;
        monday ??= mondayOf(today());
        beside = 1;
        setText(title, t('schedules.week', {from: dateText(monday), to: dateText(addDays(monday, 6))}));
        const windows = store.all('schedules').flatMap((schedule) =>
            windowsInWeek(schedule, monday).map((window) => ({...window, schedule})));
        const hours = h('div', {class: 'week-hours', 'aria-hidden': 'true'},
            [0, 3, 6, 9, 12, 15, 18, 21].map((hour) => h('span', {}, clockText(hour * 60))));
        replace(grid, hours, [0, 1, 2, 3, 4, 5, 6].map((day) => {
            const date = addDays(monday, day);
            const events = layOut(windows.filter((window) => window.day === day), leastMinutes);
            const column = h('section', {class: 'week-day', 'aria-label': dateText(date)},
                h('h3', {}, weekdayText(date)),
                h('div', {class: 'week-events'}, events.map(event)));
            set(column, 'data-today', date === today() ? '' : null);
            set(column, 'data-empty', events.length === 0 ? '' : null);
            beside = Math.max(beside, ...events.map((window) => window.columns));
            return column;
        }));
        arrange();
        if (focused) {
            focus(focused);
        }
    }

    const observer = new ResizeObserver(arrange);
    observer.observe(element);
    return {element, fill, focus, close: () => observer.disconnect()};
}
