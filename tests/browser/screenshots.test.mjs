// SPDX-License-Identifier: Apache-2.0
// Pictures of every view, wide and narrow, light and dark, in the folder PA_SCREENSHOTS.

import {mkdirSync} from 'node:fs';
import path from 'node:path';
import test from 'node:test';

import {call, goTo, logIn, openPage, sizes, synced, themes} from './browser.mjs';
import {makeUsers, startPanel} from './programs.mjs';

const folder = process.env.PA_SCREENSHOTS;
const user = ['olga', 'a long password'];
const text = 'Please keep your luggage with you at all times. ';

const schedule = (descrption, startHour, endHour, frequency, dayMask, zone, spoken) => ({descrption, startYear: 2026,
    startMonth: 11, startDay: 1, endYear: 2099, endMonth: 12, endDay: 31, startHour, endHour, dayMask, frequency,
    paZones: [zone], announcementType: 4, ttsList: [{text: spoken, language: 'en', voice: 'Amelia'}]});

async function fill(page) {
    const schedules = [
        schedule('Good morning', 6, 6, 0, 31, 'Concourse', 'Good morning'),
        schedule('Luggage', 7, 21, 30, 127, 'Concourse', text),
        schedule('Ticket check', 16, 19, 20, 31, 'Platform 1', 'Tickets will be checked on the train'),
        schedule('Closing time', 23, 1, 15, 127, 'Forecourt', 'The station is closing'),
    ];
    for (const one of schedules) {
        await call(page, 'POST', '/schedules', one);
    }
    await call(page, 'PUT', '/sources/2/lock');
    await call(page, 'PUT', '/sources/2/zones', {zones: ['Platform 1', 'Platform 2'], mode: 'replace'});
    await call(page, 'DELETE', '/announcements/unknown');
    await call(page, 'POST', '/announcements', {zones: ['Concourse', 'Forecourt'], texts: [text.repeat(100)]});
    await call(page, 'POST', '/announcements', {zones: ['Platform 3'], display: {template: 'Info',
        variables: [['Line1', 'Luggage']], validity: 600}});
}

/// What is done in a view before its picture is taken.
const pictures = {
    board: () => {},
    'board/Platform%206': () => {},
    async announce(page) {
        await page.getByRole('searchbox', {name: 'Search zones'}).fill('platform 6');
        await page.getByRole('checkbox', {name: 'Platform 6 faulty'}).check();
        await page.getByLabel('Text 1').fill('The next train leaves from platform six.');
        await page.getByText('Platform 6: faulty or inactive.').waitFor();
        await page.locator('main').evaluate((main) => main.scrollTo(0, 0));
    },
    live: () => {},
    'live/2': () => {},
    schedules: () => {},
    'schedules/week': () => {},
    health: () => {},
    history: (page) => page.locator('.history-table tbody tr').first().waitFor(),
    async editor(page) {
        await goTo(page, 'schedules/table');
        await page.getByRole('button', {name: 'Edit Luggage'}).click();
        await page.locator('.run-list li').first().waitFor();
    },
};

/// The audit trail has the times of the host: its picture is of a station with the same clock.
const series = [
    {clock: ['--clock', '2026-12-01T09:41'], names: ['login', ...Object.keys(pictures).filter((name) => name !== 'history')]},
    {clock: [], names: ['history']},
];

/// Brings a page to what a picture is of.
async function display(page, name) {
    if (name === 'login') {
        await page.getByRole('heading', {name: 'Log in'}).waitFor();
        return;
    }
    if (name !== 'editor') {
        await goTo(page, name);
    }
    await pictures[name](page);
    await page.mouse.move(0, 0);  // nothing is highlighted
    await page.evaluate(() => new Promise((resolve) => { requestAnimationFrame(() => requestAnimationFrame(resolve)); }));
}

async function take(page, names, suffix) {
    for (const name of names) {
        await display(page, name);
        await page.screenshot({path: path.join(folder, `${name.replace(/\/.*/, '-open')}-${suffix}.png`)});
        await page.keyboard.press('Escape');
    }
}

test('pictures of every view', {skip: !folder && 'PA_SCREENSHOTS is not set'}, async () => {
    mkdirSync(folder, {recursive: true});
    const users = makeUsers({olga: ['operator', user[1]]});
    const scenario = new URL('../../scenarios/central-station.json', import.meta.url).pathname;
    for (const {clock, names} of series) {
        const panel = await startPanel([...clock, '--users', users, '--scenario', scenario]);
        let isFilled = false;
        for (const [size, theme] of Object.keys(sizes).flatMap((one) => themes.map((other) => [one, other]))) {
            const page = await openPage(panel.url, {size, theme, expected: [401, 404]});
            await take(page, names.filter((name) => name === 'login'), `${size}-${theme}`);
            await logIn(page, user);
            await synced(page);
            if (!isFilled) {
                isFilled = true;
                await fill(page);
            }
            await take(page, names.filter((name) => name !== 'login'), `${size}-${theme}`);
        }
        await panel.program.stop();
    }
});
