// SPDX-License-Identifier: Apache-2.0
// The page's session with the gateway, without a browser: requests, events, records, health, clock.

import assert from 'node:assert/strict';
import {webcrypto} from 'node:crypto';
import test, {afterEach, beforeEach} from 'node:test';

import {StationClock} from '../../panel/page/StationClock.js';
import {Store} from '../../panel/page/Store.js';
import {Api} from '../../panel/page/api.js';
import {duration, utcMoment, wallMoment} from '../../panel/page/format.js';

globalThis.crypto ??= webcrypto;

/// Answers of the gateway in order: functions of the request.
let answers = [];
let requests = [];
/// Timers run when a test lets time pass: {at, work}.
let timers = [];
let time = 0;
const {setTimeout, clearTimeout} = globalThis;

function pass(milliseconds) {
    time += milliseconds;
    const due = timers.filter(({at}) => at <= time);
    timers = timers.filter(({at}) => at > time);
    due.forEach(({work}) => work());
}

beforeEach(() => {
    answers = [];
    requests = [];
    timers = [];
    globalThis.setTimeout = (work, pause) => {
        const timer = {at: time + pause, work};
        timers.push(timer);
        return timer;
    };
    globalThis.clearTimeout = (timer) => { timers = timers.filter((one) => one !== timer); };
    globalThis.document = {hidden: false};
    globalThis.requestAnimationFrame = (work) => setImmediate(work);
    globalThis.fetch = async (url, options) => {
        requests.push({url, ...options});
        return answers.shift()(options);
    };
});

afterEach(() => Object.assign(globalThis, {setTimeout, clearTimeout}));

const json = (status, body) => () => Response.json(body, {status});
const failure = (status, code) => json(status, {error: {code, text: 'why'}});
const unreachable = () => { throw new TypeError('fetch failed'); };

/// A stream of events that the test writes.
function stream() {
    const text = new TextEncoder();
    let to = null;
    const body = new ReadableStream({start: (controller) => { to = controller; }});
    return {
        answer: () => new Response(body),
        send: (name, data, id = '') => to.enqueue(text.encode(
            `${id && `id: ${id}\n`}event: ${name}\ndata: ${JSON.stringify(data)}\n\n`)),
        end: () => to.close(),
    };
}

/// Waits until something holds, however often the event loop has to turn.
async function until(holds) {
    for (let turns = 0; !holds(); turns += 1) {
        assert.ok(turns < 10000, `never: ${holds}`);
        await new Promise((resolve) => { setImmediate(resolve); });
    }
}

/// Lets time pass as soon as something waits for that long.
async function passOf(pause) {
    await until(() => timers.some(({at}) => at === time + pause));
    pass(pause);
}

test('an operation has one key however often it is sent, and a token that is renewed once', async () => {
    const api = new Api();
    answers = [unreachable, failure(403, 'csrf'), json(200, {loggedIn: true, csrf: 'new'}),
        json(200, {outcome: 'done'})];
    const operation = api.operate('PUT', '/sinks/1/gain', {level: -3});
    await passOf(300);
    assert.deepEqual(await operation, {outcome: 'done'});
    const sent = requests.filter(({method}) => method === 'PUT').map(({headers}) => headers);
    assert.deepEqual(sent.map((one) => one['X-CSRF-Token']), ['', '', 'new']);
    assert.equal(new Set(sent.map((one) => one['Idempotency-Key'])).size, 1);

    let isLoggedOut = false;
    api.onLoggedOut = () => { isLoggedOut = true; };
    answers = [failure(401, 'not-logged-in')];
    await assert.rejects(api.get('/zones'), {status: 401, code: 'not-logged-in', text: 'why'});
    assert.ok(isLoggedOut);

    // Another user has logged in on another page of this browser: nothing is done in that name.
    answers = [failure(403, 'csrf'), json(200, {loggedIn: true, csrf: 'newer', user: 'omar'})];
    await assert.rejects(api.operate('DELETE', '/triggers/1'), {code: 'not-logged-in'});
    assert.equal(answers.length, 0);
});

test('what is not answered in time or not completely may have been done, and is sent again', async () => {
    const api = new Api();
    const never = ({signal}) => new Promise((resolve, reject) => {
        signal.addEventListener('abort', () => reject(signal.reason));
    });
    const cut = () => new Response('{"outcome": "do', {headers: {'Content-Type': 'application/json'}});
    const proxy = () => new Response('<h1>Bad gateway</h1>', {status: 502});
    answers = [never, cut, proxy, json(200, {outcome: 'done'})];
    const operation = api.operate('PUT', '/sinks/1/gain', {level: -3});
    const rejected = assert.rejects(operation, {code: 'unreachable', outcomeUnknown: true});
    await passOf(15000);
    await passOf(300);
    await passOf(1500);
    await rejected;
    assert.deepEqual(await (await operation.catch((error) => error)).retry(), {outcome: 'done'});
    assert.equal(new Set(requests.map(({headers}) => headers['Idempotency-Key'])).size, 1);

    answers = [never];
    const reading = assert.rejects(api.get('/zones'), {code: 'no-answer', outcomeUnknown: false});
    await passOf(15000);
    await reading;
    answers = [() => new Response('', {status: 500})];
    await assert.rejects(api.get('/zones'), {status: 500, code: 'internal'});
});

const sink = (id, healthState) => ({id, healthState});
const status = (more = {}) => ({connected: true, synced: true, stationTime: '2026-12-01T06:00:00',
    time: '2026-12-01T05:00:00Z', ...more});
const snapshot = {
    status: status(),
    zones: [{id: 'Hall', health: 1, sinkIds: [1, 2]}, {id: 'Yard', health: 3, sinkIds: []}],
    sinks: [sink(1, 1), sink(2, 2)],
    sources: [{id: 6, healthState: 1}, {id: 7, healthState: 2}],
};

test('records follow the events; the health of a zone is that of its sinks', async () => {
    const store = new Store();
    const events = stream();
    answers = [events.answer];
    store.open();
    events.send('snapshot', snapshot, 'e-1');
    await until(() => store.link().state === 'synced');
    const health = (zone) => store.health.zone(store.get('zones', zone));
    assert.deepEqual(health('Hall'), {level: 'minor', faulty: 1, total: 2});
    assert.deepEqual(health('Yard'), {level: 'major', faulty: 0, total: 0});
    const faults = () => store.health.faults().map(({kind, key, level}) => `${kind} ${key} ${level}`);
    assert.deepEqual(faults(), ['sinks 2 minor', 'sources 7 faulty', 'zones Yard major']);

    const seen = [];
    store.subscribe(['zones'], (changes) => seen.push([...changes.get('zones') ?? ['all']]));
    await new Promise((resolve) => { setImmediate(resolve); });
    seen.length = 0;
    events.send('changes', {changes: [{kind: 'sinks', op: 'update', record: sink(1, 3)},
        {kind: 'sinks', op: 'update', record: sink(2, 1)}]}, 'e-2');
    await until(() => seen.length > 0);
    assert.deepEqual(seen, [['Hall']]);
    assert.equal(health('Hall').level, 'major');
    assert.deepEqual(faults(), ['sinks 1 major', 'sources 7 faulty', 'zones Yard major']);

    events.send('changes', {changes: [{kind: 'sinks', op: 'delete', id: 1}]}, 'e-3');
    await until(() => store.count('sinks') === 1);
    assert.deepEqual(health('Hall'), {level: 'healthy', faulty: 0, total: 1});
    assert.deepEqual(faults(), ['sources 7 faulty', 'zones Yard major']);

    // A snapshot is everything that there is.
    events.send('snapshot', {...snapshot, zones: snapshot.zones.slice(0, 1)}, 'f-1');
    await until(() => store.count('sinks') === 2);
    assert.equal(store.count('zones'), 1);
    store.close();
});

test('a stream that ends is opened again after its last event; a session that is over ends it', async () => {
    const store = new Store();
    const events = stream();
    answers = [events.answer, stream().answer];
    store.open();
    events.send('snapshot', snapshot, 'e-1');
    events.send('status', status({connected: false, awayForMs: 5000, reason: 'refused'}), 'e-2');
    await until(() => store.link().state === 'server-away');
    assert.ok(store.link().awayForMs >= 5000);
    events.end();
    await until(() => store.link().state === 'gateway-away');
    assert.equal(store.get('zones', 'Hall').id, 'Hall');
    pass(1000);
    assert.equal(requests[1].headers['Last-Event-ID'], 'e-2');
    // The gateway is there again, also when nothing was missed.
    await until(() => store.link().state === 'server-away');

    let reason = null;
    store.onSessionEnd = (text) => { reason = text; };
    answers = [failure(401, 'not-logged-in')];
    store.open();
    await until(() => reason !== null);
    pass(60000);
    assert.equal(requests.length, 3);

    // A stream that continues has missed no status, but its times are old: the status is asked for again.
    const later = new Store();
    const asked = [status({stationTime: '2026-12-01T07:00:00'}), status({stationTime: '2026-12-01T08:00:00'})];
    later.fetchStatus = async () => asked.shift();
    answers = [stream().answer];
    later.open();
    for (const [pause, hour] of [[2000, 7], [60000, 8]]) {
        await passOf(pause);
        await until(() => new Date(later.clock.wallNow()).getUTCHours() === hour);
    }
    later.close();

    // Out of sight for some time: what is displayed may be old until the gateway has answered.
    const hidden = new Store();
    const before = stream();
    answers = [before.answer, unreachable];
    hidden.open();
    before.send('snapshot', snapshot, 'e-1');
    await until(() => hidden.link().state === 'synced');
    hidden.resume();
    assert.equal(hidden.link().state, 'loading');
    await until(() => hidden.link().state === 'gateway-away');
    hidden.close();

    // Nothing has come for a while: the connection is lost.
    answers = [stream().answer];
    const quiet = new Store();
    quiet.open();
    pass(12000);
    assert.equal(quiet.link().state, 'gateway-away');
    quiet.close();
});

test('moments of the station and durations', () => {
    let now = 0;
    const clock = new StationClock(() => now);
    assert.equal(clock.wallNow(), null);
    const time = '2026-12-01T04:00:00Z';
    clock.update({stationTime: '2026-12-01T05:59:10', time, speed: 60, timeZone: 'UTC'});
    now = 2000;
    assert.equal(wallMoment(clock.wallNow(), clock.wallNow()), '06:01:10');
    assert.match(wallMoment(clock.wallBefore(3600000), clock.wallNow()), /28\/11\/2026.* 18:01:10/);
    assert.equal(clock.ageOf('2026-12-01T03:59:58Z'), 4000);
    // Two hours before 03:30, when the clocks have been put forward at 02:00.
    clock.update({stationTime: '2026-03-29T03:30:00', time, timeZone: 'Europe/Berlin'});
    assert.equal(wallMoment(clock.wallBefore(7200000), clock.wallNow()), '00:30:00');
    // The second 02:59 of the day on which they are put back, by the time of the gateway.
    clock.update({stationTime: '2026-10-25T02:59:00', time: '2026-10-25T01:59:00Z', timeZone: 'Europe/Berlin'});
    now += 60000;
    assert.equal(wallMoment(clock.wallNow(), clock.wallNow()), '03:00:00');
    assert.match(utcMoment('2026-12-01 04:59:10', 'Europe/Berlin'), /05:59:10/);
    assert.equal(utcMoment('soon', 'Europe/Berlin'), 'soon');
    assert.deepEqual([0, 59999, 60000, 3723000, 90000000].map(duration),
        ['0 s', '59 s', '1 min', '1 h 2 min', '1 d 1 h']);
});
