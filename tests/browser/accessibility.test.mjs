// SPDX-License-Identifier: Apache-2.0
// No view has a violation that axe-core finds, in either theme and size; the keyboard suffices.

import assert from 'node:assert/strict';
import test, {after, before} from 'node:test';

import {call, goTo, openPage, synced, themes, views, violations} from './browser.mjs';
import {makeUsers, startPanel} from './programs.mjs';

const scenario = ['--scenario', new URL('../../scenarios/central-station.json', import.meta.url).pathname];
let panel = null;

before(async () => { panel = await startPanel(scenario); });
after(() => panel?.program.stop());

/// Something of everything that the views can display.
async function fill(page) {
    await call(page, 'POST', '/announcements', {zones: ['Platform 1'], texts: ['Please keep your luggage with you. '.repeat(50)],
        display: {template: 'Info', variables: [['Line1', 'Luggage']], validity: 600}});
    await call(page, 'POST', '/schedules', {descrption: 'Closing time', startYear: 2026, startMonth: 1, startDay: 1, endYear: 2099,
        endMonth: 12, endDay: 31, endHour: 23, startHour: 22, dayMask: 127, frequency: 15, paZones: ['Concourse'],
        announcementType: 4, ttsList: [{text: 'The station is closing', language: 'en', voice: 'Amelia'}]});
}

for (const [theme, size] of [['light', 'wide'], ['dark', 'narrow']]) {
    test(`no violations: ${theme}, ${size}`, async () => {
        const page = await synced(await openPage(panel.url, {theme, size}));
        if (theme === 'light') {
            await fill(page);
        }
        for (const view of [...views, 'board/Platform%201', 'live/2']) {
            await goTo(page, view);
            assert.deepEqual(await violations(page), [], view);
            await page.keyboard.press('Escape');
        }
        await goTo(page, 'schedules/table');
        await page.getByRole('button', {name: 'New schedule'}).click();
        await page.locator('.run-list li').first().waitFor();
        assert.deepEqual(await violations(page), [], 'editor');
    });
}

test('no violations: the login', async () => {
    const own = await startPanel([...scenario, '--users', makeUsers({olga: ['operator', 'a long password']})]);
    for (const theme of themes) {
        const page = await openPage(own.url, {theme, expected: ['401']});
        await page.getByRole('heading', {name: 'Log in'}).waitFor();
        assert.deepEqual(await violations(page), [], theme);
    }
    await own.program.stop();
});

test('an announcement is composed and played with the keyboard only', async () => {
    const page = await synced(await openPage(panel.url));
    await page.keyboard.press('2');  // the second view
    await page.locator('main.view-announce').waitFor();
    await page.keyboard.press('/');
    await page.keyboard.type('subway');
    await page.keyboard.press('Tab');
    await page.keyboard.press('Space');
    await page.getByText('1 zone chosen').waitFor();
    const press = async (key, name) => {
        for (let i = 0; i < 40; ++i) {
            const focused = await page.evaluate(() => document.activeElement.getAttribute('aria-label')
                ?? (document.activeElement.labels?.[0] ?? document.activeElement).textContent);
            if (name.test(focused)) {
                return;
            }
            await page.keyboard.press(key);
        }
        assert.fail(`${name} is not reached`);
    };
    await press('Tab', /^Text 1$/);
    await page.keyboard.type('Mind the step');
    await press('Tab', /Play now/);
    await page.keyboard.press('Enter');
    await page.locator('.active-card', {hasText: 'Mind the step'}).locator('.badge[data-state=finished]').waitFor();
});

test('shortcuts are listed, and the page is in German for users of German', async () => {
    const page = await synced(await openPage(panel.url, {locale: 'de-DE'}));
    await page.keyboard.press('?');
    await page.getByRole('dialog').getByText('Verlauf').waitFor();
    assert.equal(await page.locator('html').getAttribute('lang'), 'de');
});
