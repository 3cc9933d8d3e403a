// SPDX-License-Identifier: Apache-2.0
// What is faulty, and since when.
//
// The controller keeps the health that a zone had when it was first reported, so the health of a zone
// with sinks is that of its sinks.

export const levels = ['unknown', 'healthy', 'minor', 'major', 'inactive'];

const sourceLevels = ['unknown', 'healthy', 'faulty'];

/// How urgent a level is; what is faulty is at least 2.
const urgency = {healthy: 0, unknown: 1, minor: 2, inactive: 3, faulty: 4, major: 5};

export function isFaulty(level) {
    return urgency[level] >= 2;
}

export function compareUrgency(a, b) {
    return urgency[b] - urgency[a];
}

/// Health of a sink or a source.
function ownLevel(kind, record) {
    return kind === 'sources' ? sourceLevels[record.healthState] ?? 'unknown'
        : levels[record.healthState] ?? 'unknown';
}

export class Health {
    #store;
    #zonesOfSink = new Map();
    #zones = new Map();    // by zone: {level, faulty, total}, made when it is asked for
    #faults = new Map();   // by "kind/key": {kind, key, since, isFirst}

    constructor(store) {
        this.#store = store;
    }

    /// Everything is about to be reported again.
    clear() {
        this.#zonesOfSink.clear();
        this.#zones.clear();
    }

    /// After everything has been reported again: forgets the faults of what is not there any more.
    keepKnown() {
        for (const [id, fault] of this.#faults) {
            if (!this.#store.get(fault.kind, fault.key)) {
                this.#faults.delete(id);
            }
        }
    }

    /// A record is new, has changed or is deleted (null). Returns the zones whose health changes too.
    apply(kind, key, before, record, now, isSnapshot) {
        if (kind === 'zones') {
            this.#relate(key, before?.sinkIds ?? [], record?.sinkIds ?? []);
            return [];
        }
        if (kind !== 'sinks' && kind !== 'sources') {
            return [];
        }
        const was = before ? ownLevel(kind, before) : null;
        const is = record ? ownLevel(kind, record) : null;
        const id = `${kind}/${key}`;
        if (is === null || !isFaulty(is)) {
            this.#faults.delete(id);
        } else if (!this.#faults.has(id)) {
            this.#faults.set(id, {kind, key, since: now, isFirst: isSnapshot});
        }
        if (kind !== 'sinks' || was === is) {
            return [];
        }
        const zones = [...this.#zonesOfSink.get(key) ?? []];
        zones.forEach((zone) => this.#zones.delete(zone));
        return zones;
    }

    /// Faults of sinks and sources: {kind, key, record, level, since, isFirst}. `since` is in wall
    /// milliseconds; with `isFirst` it is when this page first looked, the fault may be older.
    faults() {
        return [...this.#faults.values()].map((fault) => {
            const record = this.#store.get(fault.kind, fault.key);
            return {...fault, record, level: ownLevel(fault.kind, record)};
        });
    }

    /// {level, faulty, total} of a zone; `faulty` counts its faulty sinks.
    zone(zone) {
        let health = this.#zones.get(zone.id);
        if (!health) {
            health = this.#ofZone(zone);
            this.#zones.set(zone.id, health);
        }
        return health;
    }

    level(kind, record) {
        return kind === 'zones' ? this.zone(record).level : ownLevel(kind, record);
    }

    #ofZone(zone) {
        const sinks = (zone.sinkIds ?? []).map((id) => this.#store.get('sinks', id)).filter(Boolean);
        if (sinks.length === 0) {
            return {level: levels[zone.health] ?? 'unknown', faulty: 0, total: 0};
        }
        const all = sinks.map((sink) => ownLevel('sinks', sink));
        const worst = all.reduce((a, b) => (urgency[b] > urgency[a] ? b : a));
        return {level: worst, faulty: all.filter(isFaulty).length, total: sinks.length};
    }

    #relate(zone, before, now) {
        this.#zones.delete(zone);
        before.forEach((sink) => this.#zonesOfSink.get(sink)?.delete(zone));
        now.forEach((sink) => {
            if (!this.#zonesOfSink.has(sink)) {
                this.#zonesOfSink.set(sink, new Set());
            }
            this.#zonesOfSink.get(sink).add(zone);
        });
    }
}
