// SPDX-License-Identifier: Apache-2.0
// Schedules in words.

import {wallDate} from '../format.js';
import {locale, t} from '../i18n.js';
import {wallOf} from '../StationClock.js';
import {PartType, addDays, audioOf, clockText, momentOf} from './schedulesModel.js';

const someMonday = '2024-01-01';
const farDate = '2099-01-01';  // what ends then has no end in mind

/// "Mon"; 0 is Monday.
export function weekdayName(day, style = 'short') {
    return new Intl.DateTimeFormat(locale(), {weekday: style, timeZone: 'UTC'})
        .format(Date.parse(`${addDays(someMonday, day)}T00:00Z`));
}

const dayOptions = {day: '2-digit', month: '2-digit', year: 'numeric'};
const weekdayOptions = {weekday: 'short', day: '2-digit', month: '2-digit'};

function formatted(date, options) {
    return new Intl.DateTimeFormat(locale(), {...options, timeZone: 'UTC'}).format(wallOf(`${date}T00:00`));
}

/// "30/11/2026"; `date` is as "2026-11-30".
export function dateText(date) {
    return formatted(date, dayOptions);
}

/// "Mon, 30/11"
export function weekdayText(date) {
    return formatted(date, weekdayOptions);
}

/// "Mon, 30/11/2026 06:00"; `local` is as "2026-11-30T06:00".
export function momentText(local) {
    return local ? `${wallDate(wallOf(local))} ${local.slice(11, 16)}` : '';
}

/// "Mon–Fri, Sun"
export function daysText(mask) {
    if ((mask & 127) === 127) {
        return t('schedules.daily');
    }
    const days = [0, 1, 2, 3, 4, 5, 6].filter((day) => mask & (1 << day));
    const ranges = [];
    for (const day of days) {
        const last = ranges.at(-1);
        if (last && last[1] === day - 1) {
            last[1] = day;
        } else {
            ranges.push([day, day]);
        }
    }
    return ranges.map(([first, last]) => first === last ? weekdayName(first)
        : `${weekdayName(first)}${last === first + 1 ? ', ' : '–'}${weekdayName(last)}`).join(', ');
}

/// "06:00", "06:00–22:00, every 15 min"
export function timesText(schedule) {
    const from = momentOf(schedule, 'start').time;
    return schedule.frequency <= 0 ? from
        : t('schedules.every', {from, to: momentOf(schedule, 'end').time, n: schedule.frequency});
}

/// "06:00", "22:00–24:00, every 15 min"; of one of windowsInWeek()
export function windowText({from, to, every}) {
    return every <= 0 || from === to ? clockText(from)
        : t('schedules.every', {from: clockText(from), to: clockText(to), n: every});
}

/// "30/11/2026 – 31/12/2026"
export function periodText(schedule) {
    const [first, last] = ['start', 'end'].map((which) => momentOf(schedule, which).date);
    if (first === last) {
        return dateText(first);
    }
    return last >= farDate ? t('schedules.since', {date: dateText(first)}) : `${dateText(first)} – ${dateText(last)}`;
}

export function contentText(schedule) {
    const audio = {
        items: () => t('schedules.items', {items: schedule.dictionaryItems.join(', ')}),
        texts: () => schedule.ttsList.map(({text}) => t('schedules.quoted', {text: text.trim()})).join(' '),
        recording: () => schedule.storedDataFilePath,
        none: () => '',
    }[audioOf(schedule)]();
    const hasDisplay = schedule.visualAnnouncementType !== PartType.None;
    const display = hasDisplay && t('schedules.display', {template: schedule.displayTemplateName});
    return [audio, display].filter(Boolean).join('; ');
}

/// What a schedule is called.
export function nameOf(schedule) {
    return schedule.descrption || t('schedules.numbered', {id: String(schedule.Id)});
}
