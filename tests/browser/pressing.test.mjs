// SPDX-License-Identifier: Apache-2.0
// What becomes of a press: once for a double one, no message over a control, the focus near by.

import assert from 'node:assert/strict';
import test, {after, before} from 'node:test';

import {call, goTo, openPage, sizes, synced, until} from './browser.mjs';
import {startPanel} from './programs.mjs';

let panel = null;

before(async () => {
    panel = await startPanel(['--scenario', new URL('../../scenarios/central-station.json', import.meta.url).pathname]);
});

after(() => panel?.program.stop());

const focusIsOn = (page, name) => until(page, (wanted) => (document.activeElement.getAttribute('aria-label')
    ?? document.activeElement.textContent).startsWith(wanted), name);

/// The controls in sight that something else is over, toasts among it.
const covered = (page) => page.evaluate(() => [...document.querySelectorAll('button, input, select, a, textarea')]
    .filter((control) => control.checkVisibility() && !control.closest('dialog') === !document.querySelector('dialog[open]'))
    .filter((control) => {
        const box = control.getBoundingClientRect();
        const at = document.elementFromPoint(box.x + box.width / 2, box.y + box.height / 2);
        return at?.closest('.toast') && !control.closest('.toast');
    }).map((control) => control.outerHTML.slice(0, 80)));

for (const size of Object.keys(sizes)) {
    test(`a recording is made, chosen and deleted; messages cover nothing: ${size}`, async () => {
        const page = await synced(await openPage(panel.url, {view: 'announce', size}));
        await page.getByRole('radio', {name: 'Recording'}).check({force: true});
        await page.getByLabel('Name of a new recording').fill(`${size}.wav`);
        await page.getByRole('button', {name: 'Record', exact: true}).press('Enter');
        await focusIsOn(page, 'Stop and store');
        await page.getByText(`/tmp/${size}.wav`).first().waitFor();
        await page.keyboard.press('Enter');
        await focusIsOn(page, 'Record');
        const list = page.getByLabel('Recording of the server');
        await until(page, ([wanted]) => document.querySelector('.compose-audio select').value.endsWith(wanted), [`/${size}.wav`]);
        await page.getByText('The recording is stored').first().waitFor();
        assert.deepEqual(await covered(page), []);
        await page.getByRole('button', {name: 'Delete', exact: true}).press('Enter');
        assert.deepEqual(await covered(page), []);
        await page.getByRole('dialog').getByRole('button', {name: 'Delete'}).press('Enter');
        await until(page, () => document.querySelector('.compose-audio select').value === '');
        assert.ok(!(await list.textContent()).includes(`${size}.wav`));
        const {body} = await call(page, 'GET', '/recordings');
        assert.ok(body.recordings.every((one) => !one.path.endsWith(`/${size}.wav`)));
        await page.close();
    });
}

test('a double press plays once, and the focus stays on what is pressed while other zones change', async () => {
    const page = await synced(await openPage(panel.url, {view: 'announce/Subway'}));
    await page.getByLabel('Text 1').fill('Twice is once. '.repeat(20));
    await page.getByRole('button', {name: 'Play now'}).press('Enter');
    await page.keyboard.press('Enter');
    await page.locator('.active-card .badge[data-state=playing]').waitFor();
    await focusIsOn(page, 'Play now');
    const {body: {announcements}} = await call(page, 'GET', '/announcements');
    assert.deepEqual(announcements.map((one) => one.zones), [['Subway']]);

    await goTo(page, 'board/Subway');
    await page.getByRole('button', {name: 'Cancel'}).focus();
    const other = await call(page, 'POST', '/announcements', {zones: ['Forecourt'], texts: ['Elsewhere']});
    assert.equal(other.status, 202);
    await until(page, () => [...document.querySelectorAll('.zone-tile')].some((tile) => /Elsewhere/.test(tile.textContent)));
    await focusIsOn(page, 'Cancel');
    await page.keyboard.press('Enter');
    await focusIsOn(page, 'Subway');  // the title of the drawer
    await page.keyboard.press('Escape');
    await focusIsOn(page, 'Subway');  // its tile
});

test('what had no answer is not played a second time by another press', async () => {
    const page = await synced(await openPage(panel.url, {view: 'announce/Car Park'}));
    let isLost = true;
    await page.route('**/api/v1/announcements', async (route) => {
        if (isLost && route.request().method() === 'POST') {
            await route.fetch();
            await route.abort();
        } else {
            await route.continue();
        }
    });
    await page.getByLabel('Text 1').fill('The answer is lost. '.repeat(20));
    await page.getByRole('button', {name: 'Play now'}).click();
    await page.getByText('The panel does not answer.').first().waitFor();
    isLost = false;
    await page.getByRole('button', {name: 'Play now'}).click();
    await page.getByText('The announcement has been sent.').first().waitFor();
    const {body: {announcements}} = await call(page, 'GET', '/announcements');
    assert.equal(announcements.filter((one) => one.zones.includes('Car Park')).length, 1);
});
