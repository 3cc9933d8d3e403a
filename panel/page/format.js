// SPDX-License-Identifier: Apache-2.0
// Moments, durations and levels for people. Moments of the station are in its own zone: see
// StationClock.js for wall milliseconds.

import {locale, t} from './i18n.js';
import {knownZone} from './timeZones.js';

const formats = new Map();

function format(name, make) {
    const key = `${locale()} ${name}`;
    if (!formats.has(key)) {
        formats.set(key, make());
    }
    return formats.get(key);
}

function dateFormat(options, timeZone) {
    return format(`date ${JSON.stringify(options)} ${timeZone}`,
        () => new Intl.DateTimeFormat(locale(), {...options, timeZone: knownZone(timeZone)}));
}

const timeOptions = {hour: '2-digit', minute: '2-digit', second: '2-digit', hourCycle: 'h23'};
const dateOptions = {weekday: 'short', day: '2-digit', month: '2-digit', year: 'numeric'};
const day = 86400000;

/// "05:59:10"
export function wallTime(wall) {
    return wall === null ? '' : dateFormat(timeOptions, 'UTC').format(wall);
}

/// "Tue, 01/12/2026"
export function wallDate(wall) {
    return wall === null ? '' : dateFormat(dateOptions, 'UTC').format(wall);
}

/// The time, with the date unless it is that of `now`.
export function wallMoment(wall, now) {
    if (wall === null) {
        return '';
    }
    const isToday = now !== null && Math.floor(wall / day) === Math.floor(now / day);
    return isToday ? wallTime(wall) : `${wallDate(wall)} ${wallTime(wall)}`;
}

/// A moment in UTC ("2026-12-01 04:59:10", "2026-12-01T04:59:10Z") in a zone ("Europe/Berlin"); a text
/// that is none is left as it is.
export function utcMoment(text, timeZone) {
    const iso = String(text).replace(' ', 'T').replace(/Z?$/, 'Z');
    const moment = Date.parse(iso);
    return Number.isNaN(moment) ? String(text)
        : dateFormat({...dateOptions, ...timeOptions}, timeZone).format(moment);
}

/// "1 h 5 min", "5 min 3 s", "3 s"
export function duration(milliseconds) {
    const seconds = Math.max(0, Math.floor(milliseconds / 1000));
    const units = [['days', 86400], ['hours', 3600], ['minutes', 60], ['seconds', 1]];
    const first = Math.max(0, units.findIndex(([, size]) => seconds >= size));
    const at = seconds === 0 ? 3 : first;
    let rest = seconds;
    const parts = [];
    for (const [name, size] of units.slice(at, at + 2)) {
        const count = Math.floor(rest / size);
        rest %= size;
        if (count > 0 || parts.length === 0) {
            parts.push(t(`duration.${name}`, {n: count}));
        }
    }
    return parts.join(' ');
}

/// "-12.5 dB"
export function decibels(level) {
    const number = format('dB', () => new Intl.NumberFormat(locale(), {maximumFractionDigits: 1}));
    return `${number.format(level).replace('-', '\u2212')} dB`;
}

/// Compares names as people sort them: "Platform 2" before "Platform 10".
export function compareNames(a, b) {
    return format('names', () => new Intl.Collator(locale(), {numeric: true})).compare(a, b);
}
