// SPDX-License-Identifier: Apache-2.0
// The clock of the station, between two reports of the gateway. A moment is in "wall milliseconds":
// what the station's clock displays, counted as if its zone were UTC.

import {momentIn, wallIn} from './timeZones.js';

/// "2026-12-01T05:59:10" as wall milliseconds, null for no such text.
export function wallOf(text) {
    const wall = Date.parse(`${text}${/\dT\d\d:\d\d$/.test(text) ? ':00' : ''}Z`);
    return Number.isNaN(wall) ? null : wall;
}

export class StationClock {
    #wall = null;
    #gateway = 0;  // what the gateway's clock displayed at the same moment, in UTC
    #at = 0;
    #speed = 1;
    #timeZone = 'UTC';
    #now;

    /// `now` is a clock in milliseconds that never steps.
    constructor(now = () => performance.now()) {
        this.#now = now;
    }

    /// Takes over the times of a status.
    update({stationTime, time, speed, timeZone}) {
        const wall = stationTime ? wallOf(stationTime) : null;
        if (wall !== null) {
            this.#wall = wall;
            this.#gateway = Date.parse(time);
            this.#at = this.#now();
            this.#speed = speed ?? 1;
            this.#timeZone = timeZone;
        }
    }

    /// Null until the station's time is known.
    wallNow() {
        return this.#wall === null ? null : this.#wall + (this.#now() - this.#at) * this.#speed;
    }

    /// What the station's clock displayed some milliseconds of this computer ago.
    wallBefore(milliseconds) {
        const now = this.wallNow();
        return now === null ? null
            : wallIn(this.#timeZone, momentIn(this.#timeZone, now) - milliseconds * this.#speed);
    }

    /// How many milliseconds ago a moment of the gateway was, as "2026-12-01T04:59:10Z".
    ageOf(moment) {
        return Math.max(0, this.#gateway + this.#now() - this.#at - Date.parse(moment));
    }
}
