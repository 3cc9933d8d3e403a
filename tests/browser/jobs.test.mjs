// SPDX-License-Identifier: Apache-2.0
// The operators' jobs, with a simulated server in papanel and with one on a broker.

import assert from 'node:assert/strict';
import {readFileSync} from 'node:fs';
import test, {after, before, describe} from 'node:test';

import {call, goTo, openPage, operable, synced, until, views} from './browser.mjs';
import {makeUsers, startBroker, startPanel, startServer} from './programs.mjs';

const olga = ['olga', 'a long password'];
const omar = ['omar', 'another password'];
const mona = ['mona', 'only for reading'];
const users = {olga: ['operator', olga[1]], omar: ['operator', omar[1]], mona: ['monitor', mona[1]]};
const scenario = ['--scenario', new URL('../../scenarios/central-station.json', import.meta.url).pathname];
const longText = 'Please keep your luggage with you at all times. '.repeat(10);  // 70 ms a character

/// How papanel reaches a server; each resolves to {url, stop}.
const setups = {
    async 'the server of papanel'(file) {
        const panel = await startPanel(['--users', file, ...scenario]);
        return {url: panel.url, stop: () => panel.program.stop()};
    },
    async 'a server on a broker'(file) {
        const broker = await startBroker();
        const server = await startServer(broker.url, scenario);
        const panel = await startPanel(['--users', file, '--server', broker.url]);
        return {url: panel.url, stop: async () => {
            await panel.program.stop();
            await server.stop();
            await broker.program.stop();
        }};
    },
};

async function chooseZone(page, zone) {
    await page.getByRole('searchbox', {name: 'Search zones'}).fill(zone);
    await page.getByRole('checkbox', {name: new RegExp(`^${zone}( (busy|faulty|busy, faulty))?$`)}).check();
}

async function compose(page, zone, text) {
    await goTo(page, 'announce');
    await page.getByRole('button', {name: 'Clear', exact: true}).click();
    await chooseZone(page, zone);
    await page.getByLabel('Text 1').fill(text);
}

const card = (page, text) => page.locator('.active-card', {hasText: text});
const stateOf = (page, text, state) => card(page, text).locator(`header .badge[data-state="${state}"]`).waitFor();

for (const [title, setUp] of Object.entries(setups)) {
    describe(title, () => {
        const pages = {};
        let station = null;

        before(async () => {
            station = await setUp(makeUsers(users));
            const open = (user, expected = []) => openPage(station.url, {user, expected});
            [pages.olga, pages.omar, pages.mona] = await Promise.all(
                [open(olga), open(omar, ['409']), open(mona, ['403'])]);
            await Promise.all(Object.values(pages).map(synced));
        });

        after(async () => {
            await Promise.all(Object.values(pages).map((page) => page.context().close()));
            await station?.stop();
        });

        test('an announcement that one page sends plays in the other, which cancels it', async () => {
            const {olga: sender, omar: other} = pages;
            await Promise.all([compose(sender, 'Platform 1', longText), goTo(other, 'board')]);
            await sender.getByText('No problems found.').waitFor();
            await sender.getByRole('button', {name: 'Play now'}).click();
            await stateOf(sender, 'Please keep', 'playing');
            await card(sender, 'Please keep').getByText('Platform 1').waitFor();
            await card(sender, 'Please keep').locator('.zone-progress [data-state=playing]').waitFor();

            await other.getByText('Busy 3').waitFor();  // with its two sub-zones
            await goTo(other, 'announce');
            await other.locator('.active-card .badge[data-state=playing]').waitFor();
            await other.locator('.active-card').getByRole('button', {name: 'Cancel'}).click();
            await stateOf(sender, 'Please keep', 'cancelled');
            await sender.locator('[aria-live=polite]', {hasText: /Please keep.*cancelled/i}).waitFor();
            await other.locator('.active-card').waitFor({state: 'detached'});
            await goTo(other, 'board');
            await other.getByText('Busy 0').waitFor();
        });

        test('a short announcement plays to its end', async () => {
            await compose(pages.olga, 'Subway', 'Mind the gap');
            await pages.olga.getByRole('button', {name: 'Play now'}).click();
            await stateOf(pages.olga, 'Mind the gap', 'finished');
        });

        test('the check names zones that are busy, faulty or not known', async () => {
            const {olga: page} = pages;
            const {body} = await call(page, 'POST', '/announcements',
                {zones: ['Platform 3'], texts: [longText], priority: 900});
            await compose(page, 'Platform 3', 'Later');
            await page.getByText('Platform 3: busy with a higher priority.').waitFor();
            await call(page, 'DELETE', `/announcements/${body.requestId}`);
            await page.getByText('No problems found.').waitFor();
            await chooseZone(page, 'Platform 6');
            await page.getByText('Platform 6: faulty or inactive.').waitFor();
        });

        test('a preview plays in the browser', async () => {
            const {olga: page} = pages;
            const lengths = [];
            for (const text of ['Mind the gap', 'Mind the gap between the train and the platform, please.']) {
                await compose(page, 'Platform 1', text);
                const made = page.waitForResponse('**/previews');
                await page.getByRole('button', {name: 'Listen'}).first().click();
                await until(page, () => document.querySelector('audio')?.currentTime > 0.1);
                lengths.push(await page.evaluate(() => document.querySelector('audio').duration));
                const {seconds} = await (await made).json();
                assert.ok(Math.abs(lengths.at(-1) - seconds) < 0.05, `${lengths.at(-1)} s, ${seconds} s`);
            }
            assert.ok(lengths[0] > 0.5 && lengths[0] < 3, `${lengths}`);  // about 10 characters a second
            assert.ok(lengths[1] > lengths[0] * 2, `${lengths}`);
        });

        test('items, an uploaded file and a text to display are played', async () => {
            const {olga: page} = pages;
            await compose(page, 'Forecourt', '');
            await page.getByRole('radio', {name: 'Items'}).check({force: true});
            await page.getByRole('combobox', {name: 'Search items'}).fill('attention please');
            await page.keyboard.press('Enter');
            await page.getByLabel('Also display a text').check();
            await page.getByLabel('Display template').fill('Info');
            await page.getByLabel('Key of variable 1').fill('Line1');
            await page.getByLabel('Text of variable 1').fill('Attention');
            await page.getByLabel('Displayed for (s)').fill('1');
            await page.getByRole('button', {name: 'Play now'}).click();
            await stateOf(page, /^Attention please/, 'finished');

            await page.getByRole('button', {name: 'Clear', exact: true}).click();
            await chooseZone(page, 'Forecourt');
            await page.getByRole('radio', {name: 'File'}).check({force: true});
            await page.getByLabel('WAV file').setInputFiles(
                {name: 'beep.wav', mimeType: 'audio/wav', buffer: wavFile(0.5)});
            await page.getByText('beep.wav: 0.5 s').waitFor();
            await page.getByRole('button', {name: 'Play now'}).click();
            await stateOf(page, 'beep.wav', 'finished');
        });

        test('a source is held by one page at a time', async () => {
            const {olga: first, omar: second} = pages;
            await Promise.all([goTo(first, 'live/2'), goTo(second, 'live/2')]);
            await first.getByRole('button', {name: 'Take'}).click();
            await first.locator('.lock-holder', {hasText: 'Held by you'}).waitFor();
            await second.locator('.lock-holder', {hasText: 'Held by olga'}).waitFor();
            assert.deepEqual(await operable(second), []);
            const refusal = await call(second, 'PUT', '/sources/2/lock');
            assert.deepEqual([refusal.status, refusal.body.error.code, refusal.body.error.holder], [409, 'held', 'olga']);
            await first.getByRole('button', {name: 'Release'}).click();
            await second.locator('.lock-holder', {hasText: 'Free'}).waitFor();
            await second.getByRole('button', {name: 'Take'}).click();
            await first.locator('.lock-holder', {hasText: 'Held by omar'}).waitFor();
            await second.getByRole('button', {name: 'Release'}).click();
            await first.locator('.lock-holder', {hasText: 'Free'}).waitFor();

            const other = {sourceId: 2, client: 'console', locked: true};
            await call(first, 'POST', '/simulation/locks', other);
            for (const page of [first, second]) {
                await page.locator('.lock-holder', {hasText: 'Held by another client'}).waitFor();
                assert.ok(await page.getByRole('button', {name: 'Take'}).isDisabled());
            }
            await call(first, 'POST', '/simulation/locks', {...other, locked: false});
            await first.locator('.lock-holder', {hasText: 'Free'}).waitFor();
            await Promise.all([first, second].map((page) => page.keyboard.press('Escape')));
        });

        test('a schedule is made with its next runs, seen elsewhere, exported and deleted', async () => {
            const {olga: page, omar: other} = pages;
            await Promise.all([goTo(page, 'schedules'), goTo(other, 'schedules/week')]);
            await page.getByRole('button', {name: 'New schedule'}).click();
            const editor = page.getByRole('dialog');
            await editor.getByLabel('Name').fill('Closing time');
            await editor.getByLabel('First day').fill('2098-12-03');  // a Wednesday
            await editor.getByLabel('First run of a day').fill('06:00');
            for (const day of ['Saturday', 'Sunday']) {
                await editor.getByLabel(day).uncheck();
            }
            await editor.getByText('Tue, 09/12/2098 06:00').waitFor();  // the fifth, without the weekend
            assert.equal(await editor.locator('.run-list li').count(), 5);
            await chooseZone(editor, 'Concourse');
            await editor.getByLabel('Text 1').fill('The station is closing');
            await editor.getByRole('button', {name: 'Create'}).click();
            const row = page.getByRole('row', {name: /Closing time/});
            await row.getByText('Wed, 03/12/2098 06:00').waitFor();
            await row.getByText('Mon–Fri').waitFor();

            const download = page.waitForEvent('download');
            await page.getByRole('link', {name: 'Export'}).click();
            const list = JSON.parse(readFileSync(await (await download).path(), 'utf8'));
            assert.deepEqual(list.map((one) => [one.descrption, one.paZones]), [['Closing time', ['Concourse']]]);

            await row.getByRole('button', {name: 'Delete Closing time'}).click();
            await page.getByRole('dialog').getByRole('button', {name: 'Delete'}).click();
            await row.waitFor({state: 'detached'});
            await goTo(other, 'schedules/table');
            await other.getByText('The server has no schedules.').waitFor();

            await page.locator('input[type=file]').setInputFiles({name: 'list.json', mimeType: 'application/json',
                buffer: Buffer.from(JSON.stringify(list))});
            await other.getByRole('row', {name: /Closing time/}).waitFor();
        });

        test('a monitor sees everything and changes nothing', async () => {
            const {olga: operator, mona: page} = pages;
            const {body} = await call(operator, 'POST', '/announcements', {zones: ['Platform 1'], texts: [longText]});
            await call(operator, 'POST', '/triggers', {sourceId: 1, priority: 50});
            const displayed = {board: 'Busy 3', live: 'Train radio gateway', announce: 'Your role may only watch announcements.',
                schedules: 'Closing time', 'schedules/week': 'This week', health: 'Connected', history: 'olga',
                'board/Platform%201': 'Your role may only read.', 'live/1': 'Software trigger 1'};
            for (const view of [...views, 'board/Platform%201', 'live/1']) {
                await goTo(page, view);
                await page.locator('main, dialog').getByText(displayed[view]).locator('visible=true').first().waitFor();
                assert.deepEqual(await operable(page), [], view);
                await page.keyboard.press('Escape');
            }
            await call(operator, 'DELETE', `/announcements/${body.requestId}`);
            const refusal = await call(page, 'POST', '/announcements', {zones: ['Platform 1'], texts: ['x']});
            assert.deepEqual([refusal.status, refusal.body.error.code], [403, 'forbidden']);
        });

        test('the history has what was asked for, by whom, and what came of it', async () => {
            const {omar: page} = pages;
            await goTo(page, 'history');
            await page.getByRole('row', {name: /olga.*Play announcement.*Platform 1.*Cancelled/}).first().waitFor();
            const row = page.getByRole('row', {name: /olga.*Play announcement.*Subway.*Done/}).first();
            await row.waitFor();
            await page.getByLabel('Outcome').selectOption({label: 'Held by others'});
            await page.getByRole('row', {name: /omar.*Take source/}).first().waitFor();
            await row.waitFor({state: 'detached'});
            await page.getByLabel('Outcome').selectOption({label: 'Any'});
            await page.getByLabel('User', {exact: true}).fill('olga');
            await row.waitFor();
            const download = page.waitForEvent('download');
            await page.getByRole('link', {name: 'CSV'}).click();
            const lines = readFileSync(await (await download).path(), 'utf8').split('\r\n');
            assert.ok(lines[0].startsWith('id,time,user,'), lines[0]);
            const rows = lines.slice(1).filter(Boolean);
            assert.ok(rows.length > 5 && rows.every((line) => line.includes(',"olga",')), `${rows.length}`);
            assert.ok(rows.some((line) => line.includes('"play announcement"')));
        });
    });
}

/// An empty WAV file, 16 bit, 48 kHz, mono.
function wavFile(seconds) {
    const bytes = 96000 * seconds;
    const head = Buffer.alloc(44);
    head.write('RIFF', 0);
    head.writeUInt32LE(36 + bytes, 4);
    head.write('WAVEfmt ', 8);
    head.writeUInt32LE(16, 16);
    head.writeUInt16LE(1, 20);
    head.writeUInt16LE(1, 22);
    head.writeUInt32LE(48000, 24);
    head.writeUInt32LE(96000, 28);
    head.writeUInt16LE(2, 32);
    head.writeUInt16LE(16, 34);
    head.write('data', 36);
    head.writeUInt32LE(bytes, 40);
    return Buffer.concat([head, Buffer.alloc(bytes)]);
}
