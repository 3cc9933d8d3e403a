// SPDX-License-Identifier: Apache-2.0
// Lost and returned connections, and sessions that end.

import assert from 'node:assert/strict';
import test from 'node:test';

import {call, goTo, logIn, openPage, operable, synced} from './browser.mjs';
import {makeUsers, startBroker, startPanel, startServer} from './programs.mjs';

const scenario = ['--scenario', new URL('../../scenarios/tram.json', import.meta.url).pathname];

/// Notes every state of the connection that the page displays from now on.
function noteStates(page) {
    return page.evaluate(() => {
        const badge = document.querySelector('.link-state');
        globalThis.states = [badge.dataset.state];
        new MutationObserver(() => states.at(-1) !== badge.dataset.state && states.push(badge.dataset.state))
            .observe(badge, {attributes: true});
    });
}

const states = (page, last) => page.waitForFunction((wanted) => states.length > 1 && states.at(-1) === wanted && states, last)
    .then((handle) => handle.jsonValue());

test('a server that is away greys the page out, with the time; it comes back by itself', async () => {
    const broker = await startBroker();
    let server = await startServer(broker.url, scenario);
    const panel = await startPanel(['--server', broker.url]);
    const page = await openPage(panel.url, {view: 'announce', expected: ['503']});
    await synced(page);
    await page.getByRole('searchbox', {name: 'Search zones'}).fill('Car 1');
    await page.getByRole('checkbox', {name: 'Car 1'}).check();
    await page.getByLabel('Text 1').fill('Next stop: Old Harbour');
    await page.getByText('No problems found.').waitFor();
    await server.stop('SIGKILL');  // it has not withdrawn its records
    const banner = page.locator('.banner', {hasText: /No connection to the audio server since .*\d\d:\d\d:\d\d/});
    await banner.waitFor();
    const seconds = (text) => text.match(/\d\d:\d\d:\d\d/)[0].split(':').reduce((all, part) => all * 60 + Number(part), 0);
    const since = seconds(await banner.textContent());
    const now = seconds(await page.locator('.station-clock').textContent());
    assert.ok((now - since + 86400) % 86400 <= 30, `${since}, ${now}: not the time at the station`);
    assert.match(await page.locator('main').evaluate((main) => getComputedStyle(main).filter), /grayscale/);
    assert.ok(await page.getByRole('button', {name: 'Play now'}).isDisabled());
    const opened = {'live/1': 'dialog .lock-holder', 'board/Car%201': 'dialog .sink-card', 'schedules/table': '.schedule-table'};
    for (const [view, content] of Object.entries(opened)) {
        await goTo(page, view);
        await page.locator(content).first().waitFor();
        assert.deepEqual(await operable(page), [], view);
        await page.keyboard.press('Escape');
    }
    await goTo(page, 'announce');
    server = await startServer(broker.url, scenario);
    await synced(page);
    await page.locator('.banner').waitFor({state: 'hidden'});
    // What was composed is still there, and plays.
    await page.getByRole('button', {name: 'Play now'}).click();
    await page.locator('.active-card .badge[data-state=finished]').waitFor();
    // A server that ends in order withdraws its records: what was displayed stays, greyed out.
    await goTo(page, 'board');
    const tiles = await page.locator('.zone-tile').count();
    await server.stop();
    await banner.waitFor();
    assert.deepEqual([tiles, await page.locator('.zone-tile').count()], [8, 8]);
    await panel.program.stop();
    await broker.program.stop();
});

test('a connection that is lost for a moment, and a gateway that is started again', async () => {
    const panel = await startPanel(scenario);
    const page = await openPage(panel.url, {expected: ['503', '401']});
    await synced(page);
    await noteStates(page);
    await call(page, 'POST', '/simulation/disconnect');
    assert.ok((await states(page, 'synced')).includes('server-away'));
    await page.getByText('Car 2/Bistro').first().waitFor();

    await noteStates(page);
    await panel.program.stop();
    await page.locator('.banner', {hasText: 'This page has had no connection to the panel since'}).waitFor();
    const again = await startPanel(scenario, panel.url.replace('http://', ''));
    assert.ok((await states(page, 'synced')).includes('gateway-away'));
    await page.getByText('Car 2/Bistro').first().waitFor();
    await again.program.stop();
});

test('a session that ends in one page ends in the other; failed logins are slowed down', async () => {
    const user = ['olga', 'a long password'];
    const panel = await startPanel([...scenario, '--users', makeUsers({olga: ['operator', user[1]]})]);
    const first = await openPage(panel.url, {user, expected: ['401', '429']});
    const second = await openPage(panel.url, {context: first.context(), expected: ['401', '429']});
    await Promise.all([synced(first), synced(second)]);
    await first.getByRole('button', {name: /Settings of olga/}).click();
    await first.getByRole('button', {name: 'Log out'}).click();
    await first.getByRole('heading', {name: 'Log in'}).waitFor();
    await second.getByRole('heading', {name: 'Log in'}).waitFor();

    const isWaiting = () => first.evaluate(() => /Try again in \d+ second/.test(document.body.innerText)
        && document.querySelector('form button').disabled);
    let waits = false;
    for (let i = 0; i < 12 && !waits; ++i) {
        await logIn(first, ['olga', `wrong ${i}`]);
        await first.getByText(/User or password is wrong|Too many attempts/).waitFor();
        waits = await isWaiting();
    }
    assert.ok(waits);
    await panel.program.stop();
});
