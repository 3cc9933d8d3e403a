// SPDX-License-Identifier: Apache-2.0
// The clock of the station, between two reports of the gateway. A moment is in "wall milliseconds":
// what the station's clock displays, counted as if its zone were UTC.

/// "2026-12-01T05:59:10" as wall milliseconds, null for no such text.
export function wallOf(text) {
    const wall = Date.parse(`${text}${/\dT\d\d:\d\d$/.test(text) ? ':00' : ''}Z`);
    return Number.isNaN(wall) ? null : wall;
}

export class StationClock {
    #wall = null;
    #at = 0;
    #speed = 1;
    #now;

    /// `now` is a clock in milliseconds that never steps.
    constructor(now = () => performance.now()) {
        this.#now = now;
    }

    /// Takes over `stationTime` and `speed` of a status.
    update(status) {
        const wall = status.stationTime ? wallOf(status.stationTime) : null;
        if (wall !== null) {
            this.#wall = wall;
            this.#at = this.#now();
            this.#speed = status.speed ?? 1;
        }
    }

    /// Null until the station's time is known.
    wallNow() {
        return this.wallBefore(0);
    }

    /// What the station's clock displayed some milliseconds of this computer ago.
    wallBefore(milliseconds) {
        return this.#wall === null ? null
            : this.#wall + (this.#now() - this.#at - milliseconds) * this.#speed;
    }
}
