// SPDX-License-Identifier: Apache-2.0
// The clock of the station, between two reports of the gateway. A moment is in "wall milliseconds":
// what the station's clock displays, counted as if its zone were UTC.

import {momentsIn, wallIn} from './timeZones.js';

/// "2026-12-01T05:59:10" as wall milliseconds, null for no such text.
export function wallOf(text) {
    const wall = Date.parse(`${text}${/\dT\d\d:\d\d$/.test(text) ? ':00' : ''}Z`);
    return Number.isNaN(wall) ? null : wall;
}

const nearby = 30 * 60000;

export class StationClock {
    #moment = null;  // of the station, in UTC
    #gateway = 0;    // of the gateway, at the same time
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
        if (wall === null) {
            return;
        }
        this.#gateway = Date.parse(time);
        // In the hour that is repeated a station whose time is the real one is known by the gateway's.
        const moments = momentsIn(timeZone, wall);
        this.#moment = moments.find((moment) => Math.abs(moment - this.#gateway) < nearby) ?? moments[0];
        this.#at = this.#now();
        this.#speed = speed ?? 1;
        this.#timeZone = timeZone;
    }

    /// Null until the station's time is known.
    wallNow() {
        return this.wallBefore(0);
    }

    /// What the station's clock displayed some milliseconds of this computer ago.
    wallBefore(milliseconds) {
        return this.#moment === null ? null : wallIn(this.#timeZone,
            this.#moment + (this.#now() - this.#at - milliseconds) * this.#speed);
    }

    /// How many milliseconds ago a moment of the gateway was, as "2026-12-01T04:59:10Z".
    ageOf(moment) {
        return Math.max(0, this.#gateway + this.#now() - this.#at - Date.parse(moment));
    }
}
