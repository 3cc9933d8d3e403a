// SPDX-License-Identifier: Apache-2.0
// Texts of the audio server and of users are hostile: none becomes markup, and none runs.

import assert from 'node:assert/strict';
import {writeFileSync} from 'node:fs';
import path from 'node:path';
import test from 'node:test';

import {call, goTo, openPage, synced, views} from './browser.mjs';
import {startPanel, work} from './programs.mjs';

const hostile = [
    '<img src=x onerror=globalThis.hit=1>',
    '<script>globalThis.hit=1</script>',
    '"><svg onload=globalThis.hit=1>',
    'javascript:globalThis.hit=1//\u202Etxet\u202C',
    "'-globalThis.hit=1-' {n} ${globalThis.hit=1} %00",
];

function station() {
    const zones = hostile.map((id) => ({id}));
    return {
        name: hostile[0], timeZone: 'Europe/Berlin', dstNo: 1, zones,
        sinks: hostile.map((text, i) => ({id: i + 1, location: text, label: text, ipAddress: '10.0.0.1', type: 1,
            health: 3, zones: [text]})),
        sources: hostile.map((text, i) => ({id: i + 1, location: text, label: text, ipAddress: '10.0.0.2', type: 2,
            subAddress: text})),
        selectors: [{id: 1, source: 1, label: hostile[1], type: 3, number: '1', zones: [hostile[0]]}],
        triggers: [{id: 1, source: 1, selector: 1, label: hostile[2], type: 3, subAddress: 'key 1', priority: 600}],
        voices: [{port: 1, language: 'en', voice: hostile[1], rate: 48000, text: hostile[0], synthesizer: 'en'}],
        dictionary: hostile.map((text, i) => ({item: i + 1, text, seconds: 1, chime: i < 2})),
        recordings: hostile.map((path) => ({path, seconds: 1})),
    };
}

test('no text of a record becomes a part of the page', async () => {
    const file = path.join(work, 'hostile.json');
    writeFileSync(file, JSON.stringify(station()));
    const panel = await startPanel(['--scenario', file]);
    const page = await openPage(panel.url, {expected: [400, 404, 409]});
    await synced(page);
    const elements = () => page.evaluate(() => ({hit: globalThis.hit,
        foreign: document.querySelectorAll(
            'img, script:not([src]), body svg:not(.icon), iframe, [onload], [onerror]').length}));

    const noMarkup = async (view) => assert.deepEqual(await elements(), {hit: undefined, foreign: 0}, view);

    await call(page, 'POST', '/schedules', {descrption: hostile[0], startYear: 2026, startMonth: 1, startDay: 1, endYear: 2099,
        endMonth: 12, endDay: 31, endHour: 23, dayMask: 127, frequency: 0, paZones: [hostile[2]], announcementType: 4,
        ttsList: [{text: hostile[1], language: 'en', voice: hostile[1]}]});
    const sent = await call(page, 'POST', '/announcements', {zones: hostile.slice(0, 2), texts: [hostile[1].repeat(3)],
        display: {template: hostile[2], variables: [['KEY', hostile[0]]], validity: 60}});
    assert.equal(sent.status, 202, JSON.stringify(sent));
    await call(page, 'POST', '/announcements', {zones: [hostile[4]], requestId: hostile[0], texts: [hostile[0]]});
    await call(page, 'PUT', `/sources/1/zones`, {zones: [hostile[0]], mode: 'replace'});

    const opened = ['live/1', `board/${encodeURIComponent(hostile[0])}`, `announce/${encodeURIComponent(hostile[2])}`];
    for (const view of [...views, ...opened]) {
        await goTo(page, view);
        if (view === 'history') {
            await page.locator('td summary').first().click();
        }
        await page.locator('main, dialog').getByText('globalThis.hit=1').locator('visible=true').first().waitFor()
            .catch(() => assert.fail(`${view} displays none of them`));
        await noMarkup(view);
        await page.keyboard.press('Escape');
    }
    // Names of files, refusals, what was composed.
    await goTo(page, 'schedules/table');
    const bad = [{descrption: hostile[2], paZones: [hostile[1]]}, hostile[3]];
    await page.locator('input[type=file]').setInputFiles({name: `${hostile[0]}.json`, mimeType: 'application/json',
        buffer: Buffer.from(JSON.stringify(bad))});
    await page.locator('.toast, dialog').first().waitFor();
    await noMarkup('import');
    await page.keyboard.press('Escape');
    await page.locator('input[type=file]').setInputFiles({name: `${hostile[0]}.json`, mimeType: 'application/json',
        buffer: Buffer.from('{')});
    await page.locator('.toast', {hasText: 'globalThis.hit=1'}).first().waitFor();
    await noMarkup('a file that is no list');
    await goTo(page, 'announce');
    for (const kind of ['Recording', 'File', 'Items']) {
        await page.getByRole('radio', {name: kind}).check({force: true});
        await noMarkup(kind);
    }
    // A mark that turns the direction of writing is written out.
    await goTo(page, 'board');
    await page.getByText('\\u{202E}txet').first().waitFor();
    await panel.program.stop();
});
