// SPDX-License-Identifier: Apache-2.0
// Moments between the clocks of the station and UTC.

/// How far a zone's clocks are ahead of UTC at a moment, in milliseconds.
function offsetAt(moment, timeZone) {
    const parts = new Intl.DateTimeFormat('en-US', {timeZone, hourCycle: 'h23', year: 'numeric', month: 'numeric',
        day: 'numeric', hour: 'numeric', minute: 'numeric', second: 'numeric'}).formatToParts(moment);
    const number = (type) => Number(parts.find((part) => part.type === type).value);
    return Date.UTC(number('year'), number('month') - 1, number('day'), number('hour'), number('minute'),
        number('second')) - Math.floor(moment / 1000) * 1000;
}

/// "2026-12-01T06:00" by the clocks of a zone as "2026-12-01T05:00:00.000Z"; empty for no such text.
/// A time that is skipped is as if the clocks had not been changed yet, one that comes twice the first.
export function utcOf(local, timeZone) {
    const wall = Date.parse(`${local}Z`);
    if (Number.isNaN(wall)) {
        return '';
    }
    const day = 86400000;
    const before = wall - offsetAt(wall - day, timeZone);
    const after = wall - offsetAt(wall + day, timeZone);
    const isRight = before + offsetAt(before, timeZone) === wall;
    return new Date(isRight ? before : Math.max(before, after)).toISOString();
}
