// SPDX-License-Identifier: Apache-2.0
// The controls of zones, sinks and sources, each by what the audio server reports afterwards.

import assert from 'node:assert/strict';
import test, {after, before} from 'node:test';

import {call, goTo, openPage, synced, until} from './browser.mjs';
import {makeUsers, startPanel} from './programs.mjs';

const user = ['olga', 'a long password'];
let panel = null;
let page = null;

before(async () => {
    panel = await startPanel(['--scenario', new URL('../../scenarios/central-station.json', import.meta.url).pathname,
        '--users', makeUsers({olga: ['operator', user[1]]})]);
    page = await synced(await openPage(panel.url, {user, expected: [401, 500]}));
});
after(() => panel?.program.stop());

/// Waits until a record has a value.
const reported = (where, member, value) => page.evaluate(async ([path, name, wanted]) => {
    const end = performance.now() + 10000;
    let is;
    do {
        await new Promise((resolve) => { requestAnimationFrame(resolve); });
        is = JSON.stringify((await (await fetch(`/api/v1${path}`)).json())[name]);
    } while (is !== wanted && performance.now() < end);
    if (is !== wanted) {
        throw new Error(`${path}: ${name} is ${is}, not ${wanted}`);
    }
}, [where, member, JSON.stringify(value)]);

const drawer = () => page.getByRole('dialog').first();
const focusIsOn = (name) => until(page, (wanted) => document.activeElement.textContent.startsWith(wanted), name);

test('zones are found by search, filter and keys; Back closes a zone', async () => {
    const tiles = page.locator('.zone-tile');
    await page.keyboard.press('/');
    await page.keyboard.type('platform 2/n');
    await until(page, () => document.querySelectorAll('.zone-tile').length === 1);
    assert.match(await tiles.textContent(), /^Platform 2\/North/);
    await page.getByRole('searchbox', {name: 'Search zones'}).fill('');
    await page.getByRole('radio', {name: 'Faulty 2'}).check({force: true});
    await until(page, () => document.querySelectorAll('.zone-tile').length === 2);
    assert.deepEqual((await tiles.allTextContents()).map((text) => text.match(/^(Car Park|Platform 6)/)?.[0]), ['Car Park', 'Platform 6']);
    await page.locator('h1').click({force: true});
    await page.keyboard.press('l');
    await focusIsOn('Car Park');
    await page.keyboard.press('ArrowDown');
    await focusIsOn('Platform 6');
    await page.keyboard.press('Enter');
    await drawer().getByText('P6 interface unit').waitFor();
    await page.goBack();
    await drawer().waitFor({state: 'detached'});
    await focusIsOn('Platform 6');
    await page.getByRole('radio', {name: 'All 40'}).check({force: true});
});

test('a sink has the gain, the monitoring and the reset that were asked for', async () => {
    await goTo(page, 'board/Subway');
    const number = drawer().getByLabel('Gain of Subway speakers 1 in dB');
    await number.fill('-8');
    await number.press('Enter');
    await reported('/sinks/94', 'outputGain', -8);
    await until(page, () => [...document.querySelectorAll('[aria-label^="Gain of Subway speakers 1"] input')]
        .every((input) => input.valueAsNumber === -8));
    await drawer().getByLabel('Gain of Subway speakers 2, slider').press('ArrowRight');
    await reported('/sinks/95', 'outputGain', -5.5);
    await reported('/sinks/95', 'monitoringEnabled', false);
    await drawer().getByLabel('Monitoring of Subway speakers 2').click();
    await reported('/sinks/95', 'monitoringEnabled', true);
    await drawer().getByRole('button', {name: 'Reset Amplifier rack 2 mixer'}).click();
    await page.getByRole('dialog').getByRole('button', {name: 'Reset', exact: true}).click();
    await page.getByText('Amplifier rack 2 mixer is being reset.').first().waitFor();
    await page.keyboard.press('Escape');
});

test('a source has the zones, the gain and the triggers that were asked for, and a level', async () => {
    await goTo(page, 'live');
    await page.getByRole('button', {name: /^Deputy's microphone/}).click();
    await drawer().getByRole('button', {name: 'Take'}).click();
    await drawer().getByText('Held by you').waitFor();
    await drawer().getByRole('button', {name: 'Choose zones'}).click();
    const picker = page.getByRole('dialog').last();
    for (const zone of ['Subway', 'Concourse']) {
        await picker.getByRole('searchbox').fill(zone);
        await picker.getByRole('checkbox', {name: new RegExp(`^${zone}( (busy|faulty))?$`)}).check();
    }
    await picker.getByRole('button', {name: 'Attach these zones'}).click();
    await reported('/sources/2/zones', 'zones', ['Concourse', 'Subway']);
    await drawer().getByRole('button', {name: 'Detach Concourse'}).click();
    await reported('/sources/2/zones', 'zones', ['Subway']);
    await reported('/zones/Subway', 'activityText', 'Active');

    const number = drawer().getByLabel("Gain of Deputy's microphone in dB");
    await number.fill('1.5');
    await number.press('Enter');
    await reported('/sources/2', 'inputGain', 1.5);
    await drawer().getByRole('button', {name: 'Display the level'}).click();
    await drawer().locator('.level-number', {hasText: /\d dB$/}).waitFor();
    assert.match(await drawer().getByRole('meter').getAttribute('aria-valuetext'), /\d dB$/);

    await drawer().getByText('New software trigger').click();
    await drawer().getByLabel('Priority, 0 to 100').fill('40');
    await drawer().getByRole('button', {name: 'Create'}).click();
    await drawer().getByText('Priority 40').waitFor();
    await drawer().getByRole('button', {name: 'Activate: Software trigger 1', exact: true}).click();
    await page.getByText('The trigger is active.').first().waitFor();
    await drawer().getByRole('button', {name: 'Delete: Software trigger 1'}).click();
    await drawer().getByText('Priority 40').waitFor({state: 'detached'});

    await drawer().getByRole('button', {name: 'Detach all'}).click();
    await reported('/sources/2/zones', 'zones', []);
    await drawer().getByRole('button', {name: 'Release'}).click();
    await drawer().getByText('Free', {exact: true}).waitFor();
    await page.keyboard.press('Escape');
});

test('an event of the week opens its schedule, once', async () => {
    const {status} = await call(page, 'POST', '/schedules', {descrption: 'Every day', startYear: 2026, startMonth: 1, startDay: 1,
        endYear: 2099, endMonth: 12, endDay: 31, startHour: 6, endHour: 6, dayMask: 127, frequency: 0, paZones: ['Subway'],
        announcementType: 4, ttsList: [{text: 'Good morning', language: 'en', voice: 'Amelia'}]});
    assert.equal(status, 201);
    await goTo(page, 'schedules/week');
    await page.locator('.week-event').first().dblclick();
    await drawer().getByLabel('Name').waitFor();
    assert.equal(await drawer().getByLabel('Name').inputValue(), 'Every day');
    assert.equal(await page.getByRole('dialog').count(), 1);
    await page.keyboard.press('Escape');
    await drawer().waitFor({state: 'detached'});
});

test('a logout that fails leaves the page as it was', async () => {
    await page.route('**/api/v1/session', (route) => (route.request().method() === 'DELETE'
        ? route.fulfill({status: 500, json: {error: {code: 'internal', text: 'why'}}}) : route.continue()));
    await goTo(page, 'board');
    await page.getByRole('button', {name: /Settings of olga/}).click();
    await page.getByRole('button', {name: 'Log out'}).click();
    await page.getByText('The panel has a problem: why').first().waitFor();
    await page.keyboard.press('Escape');
    await call(page, 'POST', '/announcements', {zones: ['Subway'], texts: ['Please keep your luggage with you. '.repeat(20)]});
    await page.getByText('Busy 1').waitFor();
});
