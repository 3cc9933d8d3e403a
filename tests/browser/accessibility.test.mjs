// SPDX-License-Identifier: Apache-2.0
// No view has a violation that axe-core finds, in either theme and size; the keyboard suffices.

import assert from 'node:assert/strict';
import {readFileSync} from 'node:fs';
import test, {after, before} from 'node:test';

import {languages} from '../../panel/page/i18n.js';
import {call, goTo, openPage, synced, themes, views, violations} from './browser.mjs';
import {makeUsers, startPanel} from './programs.mjs';

const station = new URL('../../scenarios/central-station.json', import.meta.url).pathname;
const scenario = ['--scenario', station];
const forms = (text) => (typeof text === 'string' ? [text] : Object.values(text));
const opened = ['board/Platform%201', 'live/2', 'editor'];
/// Something that a view has when it is complete.
const contents = {board: '.zone-tile', announce: '.active-card', live: '.source-tile', schedules: '[data-run]:not(:empty)',
    'schedules/week': '.week-event', health: '.fault-tile', history: 'tbody tr', 'board/Platform%201': '.sink-card',
    'live/2': '.lock-holder', editor: '.run-list li'};
let panel = null;

before(async () => {
    panel = await startPanel(scenario);
    const page = await openPage(panel.url);
    await call(page, 'POST', '/announcements', {zones: ['Platform 1'], texts: ['Please keep your luggage with you. '.repeat(50)],
        display: {template: 'Info', variables: [['Line1', 'Luggage']], validity: 600}});
    await call(page, 'POST', '/schedules', {descrption: 'Closing time', startYear: 2026, startMonth: 1, startDay: 1, endYear: 2099,
        endMonth: 12, endDay: 31, endHour: 23, startHour: 22, dayMask: 127, frequency: 15, paZones: ['Concourse'],
        announcementType: 4, ttsList: [{text: 'The station is closing', language: 'en', voice: 'Amelia'}]});
    await page.context().close();
});
after(() => panel?.program.stop());

async function complete(page, view) {
    if (view === 'editor') {
        await goTo(page, 'schedules/table');
        await page.locator('.toolbar .primary').click();
    } else {
        await goTo(page, view);
    }
    await page.locator(contents[view]).first().waitFor();
}

for (const [theme, size] of [['light', 'wide'], ['dark', 'narrow']]) {
    test(`no violations: ${theme}, ${size}`, async () => {
        const page = await synced(await openPage(panel.url, {theme, size}));
        for (const view of [...views, ...opened]) {
            await complete(page, view);
            assert.deepEqual(await violations(page), [], view);
            await page.keyboard.press('Escape');
        }
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

test('for users of German no text of the page is English', async () => {
    const page = await synced(await openPage(panel.url, {locale: 'de-DE'}));
    assert.equal(await page.locator('html').getAttribute('lang'), 'de');
    const german = new Set(Object.values(languages.de.texts).flatMap(forms));
    const own = readFileSync(station, 'utf8');
    const english = Object.values(languages.en.texts).flatMap(forms).filter((text) => !german.has(text) && !text.includes('{') && !own.includes(`"${text}"`));
    await page.keyboard.press('?');
    await page.getByRole('dialog').getByText('Verlauf').waitFor();
    for (const view of ['shortcuts', ...views, ...opened]) {
        if (view !== 'shortcuts') {
            await complete(page, view);
        }
        const texts = await page.evaluate(() => [...document.querySelectorAll('body *')].flatMap((one) =>
            [...[...one.childNodes].filter((node) => node.nodeType === Node.TEXT_NODE).map((node) => node.data),
                ...['aria-label', 'title', 'placeholder'].map((name) => one.getAttribute(name))]));
        assert.ok(texts.length > 100, view);
        assert.deepEqual(texts.filter((text) => english.includes(text)), [], view);
        await page.keyboard.press('Escape');
    }
});
