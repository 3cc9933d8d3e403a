// SPDX-License-Identifier: Apache-2.0
// The records of the audio server, kept up to date by the gateway's events.

import {ChangeNotes} from './ChangeNotes.js';
import {Health} from './Health.js';
import {StationClock} from './StationClock.js';
import {openEventStream} from './eventStream.js';

/// The key of a record, by kind. Identifiers of other kinds than these are not in the events.
const keyOf = {
    zones: (zone) => zone.id,
    sources: (source) => source.id,
    sinks: (sink) => sink.id,
    voices: (voice) => voice.portNo,
    announcements: (announcement) => announcement.id,
    triggers: (trigger) => `${trigger.kind}/${trigger.id}`,
    selectors: (selector) => selector.id,
    schedules: (schedule) => schedule.Id,
    locks: (lock) => lock.sourceId,
};

/// Hardware and software triggers have numbers of their own; a number is deleted when no trigger has it.
function keysOfDeleted(kind, id) {
    return kind === 'triggers' ? [`hardware/${id}`, `software/${id}`] : [id];
}

const pauses = [500, 1000, 2000, 5000, 10000];

const firstStatusPause = 2000;
const statusPause = 60000;

export class Store {
    clock = new StationClock();
    health = new Health(this);
    /// The last one of the gateway; null before the first.
    status = null;
    /// Called with the reason when the gateway ends the session.
    onSessionEnd = () => {};
    /// Resolves to what GET /status answers.
    fetchStatus = () => Promise.reject(new Error('the store has no gateway'));

    #kinds = Object.fromEntries(Object.keys(keyOf).map((kind) => [kind, new Map()]));
    #isLoaded = false;
    #gatewayAwaySince = null;  // by performance.now()
    #closedAt = 0;
    #isResuming = false;
    #notes = new ChangeNotes();
    #close = null;
    #timer = null;
    #statusTimer = null;
    #lastId = null;
    #attempts = 0;

    /// The record, or undefined.
    get(kind, key) {
        return this.#kinds[kind].get(key);
    }

    /// The records in the order in which they were first reported.
    all(kind) {
        return [...this.#kinds[kind].values()];
    }

    count(kind) {
        return this.#kinds[kind].size;
    }

    /// Calls `onChanges(changes)` at most once a frame when a record of one of the kinds has changed;
    /// `changes.get(kind)` is a Set of keys, null when any may have changed, undefined when none has.
    /// A zone also changes when its health does. The kind 'status' is for the connection. Returns a
    /// function that ends it.
    subscribe(kinds, onChanges) {
        return this.#notes.subscribe(kinds, onChanges);
    }

    /// What this page knows of the connection: `state` is 'loading' (also when it may have been lost and is being
    /// opened again), 'gateway-away' (no connection to the gateway), 'server-away' (none from it to the audio
    /// server), 'syncing' or 'synced'; `awayForMs` is for how long it has been away, `reason` the gateway's text.
    link() {
        if (this.#gatewayAwaySince !== null) {
            return {state: 'gateway-away', awayForMs: performance.now() - this.#gatewayAwaySince};
        }
        if (!this.#isLoaded || !this.status || this.#isResuming) {
            return {state: 'loading', awayForMs: 0};
        }
        if (!this.status.connected) {
            const sinceReport = performance.now() - this.status.reportedAt;
            return {state: 'server-away', awayForMs: (this.status.awayForMs ?? 0) + sinceReport,
                reason: this.status.reason};
        }
        return {state: this.status.synced ? 'synced' : 'syncing', awayForMs: 0};
    }

    /// Begins to follow the gateway's events.
    open() {
        this.close();
        this.#close = openEventStream('/events', {
            lastId: this.#lastId,
            onOpen: () => this.#isThere(),
            onEvent: (name, data, id) => this.#handle(name, JSON.parse(data), id),
            onEnd: (problem) => this.#reopen(problem),
        });
    }

    /// Opens it again when the page may have been without it for some time.
    resume() {
        this.#isResuming = true;
        this.#notes.add('status', null);
        this.open();
    }

    get isOpen() {
        return this.#close !== null;
    }

    close() {
        clearTimeout(this.#timer);
        clearTimeout(this.#statusTimer);
        if (this.#close) {
            this.#close();
            this.#closedAt = performance.now();
        }
        this.#close = null;
    }

    #reopen(problem) {
        if (problem.status === 401) {
            this.close();
            this.onSessionEnd('');
            return;
        }
        this.#gatewayAwaySince ??= this.#isResuming ? this.#closedAt : performance.now();
        this.#notes.add('status', null);
        const pause = pauses[Math.min(this.#attempts, pauses.length - 1)];
        this.#attempts += 1;
        // Not all pages at the same moment when a gateway is there again.
        this.#timer = setTimeout(() => this.open(), pause * (0.5 + Math.random()));
    }

    /// The gateway has answered; what was missed follows, if there is anything.
    #isThere() {
        this.#attempts = 0;
        this.#isResuming = false;
        this.#gatewayAwaySince = null;
        this.#notes.add('status', null);
        clearTimeout(this.#statusTimer);
        this.#statusTimer = setTimeout(() => this.#renewStatus(), firstStatusPause);
    }

    /// A status that was missed has the times of when it was sent, and the clocks of the station and of this
    /// computer, which may have been asleep, differ more and more.
    async #renewStatus() {
        const stream = this.#close;
        const before = this.status;
        const status = await this.fetchStatus().catch(() => null);
        if (stream === this.#close && stream !== null) {
            if (status && before === this.status) {  // else an event has been faster
                this.#setStatus(status);
            }
            this.#statusTimer = setTimeout(() => this.#renewStatus(), statusPause);
        }
    }

    #handle(name, data, id) {
        if (name === 'session') {
            this.close();
            this.onSessionEnd(data.ends);
            return;
        }
        if (name === 'snapshot') {
            this.#setStatus(data.status);
            this.#takeSnapshot(data);
        } else if (name === 'changes') {
            data.changes.forEach((change) => this.#apply(change));
        } else if (name === 'status') {
            this.#setStatus(data);
        }
        if (id !== null) {
            this.#lastId = id;
        }
    }

    #setStatus(status) {
        this.status = {...status, reportedAt: performance.now()};
        this.clock.update(status);
        this.#notes.add('status', null);
    }

    #takeSnapshot(snapshot) {
        this.health.clear();
        for (const [kind, keyOfRecord] of Object.entries(keyOf)) {
            this.#kinds[kind] = new Map((snapshot[kind] ?? [])
                .map((record) => [keyOfRecord(record), record]));
            this.#notes.add(kind, null);
        }
        this.#kinds.zones.forEach((zone, key) => this.health.apply('zones', key, null, zone));
        this.#isLoaded = true;
    }

    #apply({kind, op, id, record}) {
        const records = this.#kinds[kind];
        if (!records) {
            return;
        }
        const keys = op === 'delete' ? keysOfDeleted(kind, id) : [keyOf[kind](record)];
        for (const key of keys) {
            const before = records.get(key);
            if (op === 'delete') {
                records.delete(key);
            } else {
                records.set(key, record);
            }
            this.#notes.add(kind, key);
            this.health.apply(kind, key, before, record ?? null).forEach((zone) => this.#notes.add('zones', zone));
        }
    }
}
