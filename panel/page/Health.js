// SPDX-License-Identifier: Apache-2.0
// What is faulty. Records of faulty devices have the time since when: `faultySince`, and `faultyBefore` when the
// fault is older than that.
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
    #zones = new Map();  // by zone: {level, faulty, total}, made when it is asked for

    constructor(store) {
        this.#store = store;
    }

    /// Everything is about to be reported again.
    clear() {
        this.#zonesOfSink.clear();
        this.#zones.clear();
    }

    /// A record is new, has changed or is deleted (null). Returns the zones whose health changes too.
    apply(kind, key, before, record) {
        if (kind === 'zones') {
            this.#relate(key, before?.sinkIds ?? [], record?.sinkIds ?? []);
        }
        if (kind !== 'sinks' || before?.healthState === record?.healthState) {
            return [];
        }
        const zones = [...this.#zonesOfSink.get(key) ?? []];
        zones.forEach((zone) => this.#zones.delete(zone));
        return zones;
    }

    /// What is faulty: {kind, key, record, level} of sinks, sources, and zones without sinks.
    faults() {
        const of = (kind, keyOf) => this.#store.all(kind)
            .filter((record) => isFaulty(this.level(kind, record)))
            .map((record) => ({kind, key: keyOf(record), record, level: this.level(kind, record)}));
        return [...of('sinks', (sink) => sink.id), ...of('sources', (source) => source.id),
            ...of('zones', (zone) => zone.id).filter(({record}) => this.zone(record).total === 0)];
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
