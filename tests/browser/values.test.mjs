// SPDX-License-Identifier: Apache-2.0
// What the page computes without a browser: moments, and when schedules run in a week.

import assert from 'node:assert/strict';
import test from 'node:test';

import {knownZone, utcText} from '../../panel/page/timeZones.js';
import {blankSchedule, definitionOf, layOut, mondayOf, setMoment, windowsInWeek} from '../../panel/page/views/schedulesModel.js';
import {eventParser} from '../../panel/page/eventStream.js';

function schedule({from, to, every = 0, days = 127, first = '2026-01-01', last = '2099-12-31'}) {
    const made = {...blankSchedule(first), dayMask: days, frequency: every};
    setMoment(made, 'start', {date: first, time: from});
    setMoment(made, 'end', {date: last, time: to});
    return made;
}

const short = (windows) => windows.map(({day, from, to}) => `${day}:${from}-${to}`).join(' ');

test('windows of a week', () => {
    const monday = '2026-11-23';
    const rows = [
        [{from: '06:00', to: '22:00', days: 0b0000101}, '0:360-360 2:360-360'],
        [{from: '06:00', to: '22:00', every: 15, days: 0b1000000}, '6:360-1320'],
        // Past midnight, also into and out of the week.
        [{from: '23:00', to: '01:00', every: 10, days: 0b1000000}, '0:0-60 6:1380-1440'],
        [{from: '06:00', to: '07:00', first: '2026-11-28', last: '2026-11-29'}, '5:360-360 6:360-360'],
        [{from: '06:00', to: '07:00', last: '2026-11-22'}, ''],
    ];
    for (const [given, expected] of rows) {
        assert.equal(short(windowsInWeek(schedule(given), monday)), expected, JSON.stringify(given));
    }
    assert.equal(mondayOf('2026-11-29'), monday);
    assert.equal(mondayOf(monday), monday);
});

test('windows at the same time are beside each other', () => {
    const places = layOut([{from: 60, to: 120}, {from: 0, to: 90}, {from: 100, to: 110}, {from: 300, to: 300}], 30)
        .map(({from, column, columns}) => [from, column, columns]);
    assert.deepEqual(places, [[0, 0, 2], [60, 1, 2], [100, 0, 2], [300, 0, 1]]);
});

test('a definition has no texts of its record', () => {
    const record = {...blankSchedule('2026-11-23'), priorityModeText: 'x', nextRun: 'y',
        ttsList: [{text: 'a', language: 'en', encoding: 1, encodingText: 'UTF_8'}]};
    assert.deepEqual(definitionOf(record), {...blankSchedule('2026-11-23'), ttsList: [{text: 'a', language: 'en', encoding: 1}]});
});

test('moments of the station in UTC', () => {
    assert.equal(utcText('2026-12-01T06:00', 'Europe/Berlin'), '2026-12-01T05:00:00.000Z');
    assert.equal(utcText('2026-07-01T00:30', 'Asia/Kolkata'), '2026-06-30T19:00:00.000Z');
    assert.equal(utcText('2026-10-25T02:30', 'Europe/Berlin'), '2026-10-25T00:30:00.000Z');  // twice: the first
    assert.equal(utcText('2026-03-29T02:30', 'Europe/Berlin'), '2026-03-29T01:30:00.000Z');  // skipped
    assert.equal(utcText('2026-03-29T03:30', 'Europe/Berlin'), '2026-03-29T01:30:00.000Z');
    assert.equal(utcText('', 'Europe/Berlin'), '');
    assert.equal(utcText('2026-12-01T06:00', ''), '2026-12-01T06:00:00.000Z');  // the station's is not known
    assert.deepEqual(['Asia/Kolkata', 'Mars/Base', undefined].map(knownZone), ['Asia/Kolkata', 'UTC', 'UTC']);
});

test('events are read however they are cut', () => {
    const text = 'id: e-1\nevent: changes\ndata: {"a":\ndata: "\u00e4"}\n\n: quiet\n\nevent: x\r\ndata: 1\r\n\r\n';
    for (const size of [1, 2, 7, text.length]) {
        const events = [];
        const parse = eventParser((...event) => events.push(event));
        for (let at = 0; at < text.length; at += size) {
            parse(text.slice(at, at + size));
        }
        assert.deepEqual(events, [['changes', '{"a":\n"\u00e4"}', 'e-1'], ['x', '1', 'e-1']], `${size}`);
    }
});
