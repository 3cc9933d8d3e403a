// SPDX-License-Identifier: Apache-2.0
// Between the clocks of a time zone and UTC. Moments are in milliseconds since 1970, those of a zone's
// clocks as if the zone were UTC.

const formats = new Map();  // by zone
const day = 86400000;

/// The name of a time zone, "UTC" for one that this browser does not know.
export function knownZone(name) {
    try {
        Intl.DateTimeFormat('en', {timeZone: name});
        return name || 'UTC';
    } catch {
        return 'UTC';
    }
}

function formatOf(timeZone) {
    if (!formats.has(timeZone)) {
        formats.set(timeZone, new Intl.DateTimeFormat('en-US', {timeZone: knownZone(timeZone), hourCycle: 'h23',
            year: 'numeric', month: 'numeric', day: 'numeric', hour: 'numeric', minute: 'numeric', second: 'numeric'}));
    }
    return formats.get(timeZone);
}

/// How far a zone's clocks are ahead of UTC at a moment.
function offsetAt(moment, timeZone) {
    const parts = formatOf(timeZone).formatToParts(moment);
    const number = (type) => Number(parts.find((part) => part.type === type).value);
    return Date.UTC(number('year'), number('month') - 1, number('day'), number('hour'), number('minute'),
        number('second')) - Math.floor(moment / 1000) * 1000;
}

/// What the clocks of a zone display at a moment.
export function wallIn(timeZone, moment) {
    return moment + offsetAt(moment, timeZone);
}

/// When the clocks of a zone display this: twice in the hour that is repeated, else once. A time that is skipped
/// is as if the clocks had not been changed yet.
export function momentsIn(timeZone, wall) {
    const moments = [wall - offsetAt(wall - day, timeZone), wall - offsetAt(wall + day, timeZone)];
    const right = [...new Set(moments)].filter((moment) => wallIn(timeZone, moment) === wall);
    return right.length > 0 ? right : moments.slice(0, 1);
}

/// "2026-12-01T06:00" by the clocks of a zone as "2026-12-01T05:00:00.000Z", the first that it can be;
/// empty for no such text.
export function utcText(local, timeZone) {
    const wall = Date.parse(`${local}Z`);
    return Number.isNaN(wall) ? '' : new Date(momentsIn(timeZone, wall)[0]).toISOString();
}
