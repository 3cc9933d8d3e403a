// SPDX-License-Identifier: Apache-2.0
// What the page displays when an operation is refused, or not answered. The browser answers in the
// place of the gateway.

import assert from 'node:assert/strict';
import {readFileSync} from 'node:fs';
import test, {after, before} from 'node:test';

import {openPage, synced} from './browser.mjs';
import {startPanel} from './programs.mjs';

const text = 'why <b>not</b>';
/// Code, status, more of the error, what is displayed; no text of the gateway where the code is enough.
const refusals = [
    ['bad-request', 400, {}, `The request is not valid: ${text}`],
    ['not-logged-in', 401, {}, 'You are not logged in.'],
    ['forbidden', 403, {}, 'Your role does not allow this.'],
    ['csrf', 403, {}, 'The session has changed. Please try again.'],
    ['wrong-credentials', 401, {}, 'User or password is wrong.'],
    ['method-not-allowed', 405, {}, 'The panel does not support this.'],
    ['not-found', 404, {suggestions: ['Platform 1', 'Platform 2']}, `Not found: ${text} Nearest: Platform 1, Platform 2`],
    ['refused', 409, {}, `The audio server has refused: ${text}`],
    ['held', 409, {holder: 'olga'}, 'This source is held by olga.'],
    ['ambiguous', 409, {candidates: ['Car 1']}, `This is not one thing only: ${text} Nearest: Car 1`],
    ['conflict', 409, {}, 'This was already asked for in another way. Please try again.'],
    ['too-slow', 408, {}, 'The data came too slowly. Please try again.'],
    ['unsupported-media-type', 415, {}, 'The panel cannot read this kind of data.'],
    ['too-large', 413, {}, `This is too large: ${text}`],
    ['throttled', 429, {retryAfter: 7}, 'Too many attempts. Please wait 7 s.'],
    ['internal', 500, {}, `The panel has a problem: ${text}`],
    ['not-supported', 501, {}, 'This audio server does not support this.'],
    ['not-connected', 503, {}, 'There is no connection to the audio server.'],
    ['overloaded', 503, {}, 'The panel is overloaded. Please try again.'],
    ['audit-unavailable', 503, {}, 'The history cannot be written. Nothing has been done.'],
    ['connection-lost', 504, {}, 'The connection was lost. Whether it has been done is not known.'],
    ['timed-out', 504, {}, 'No confirmation has come in time. Whether it has been done is not known.'],
    ['of-a-later-release', 400, {}, text],
];
const where = '**/api/v1/sources/2/lock';

let panel = null;
let page = null;

before(async () => {
    panel = await startPanel();
    page = await synced(await openPage(panel.url, {view: 'live/2', expected: [...refusals.map(([, status]) => status), 502]}));
});
after(() => panel?.program.stop());

async function operate(answer, ends = () => true) {
    await page.route(where, answer);
    await page.getByRole('button', {name: 'Take'}).click();
    await page.locator('.toast-error').waitFor();
    assert.ok(ends());
    await page.unroute(where);
}

test('each refusal has its text, which is read out, too', async () => {
    const api = readFileSync(new URL('../../docs/panel-api.yaml', import.meta.url), 'utf8');
    const codes = api.match(/enum:\s*\[(bad-request,[^\]]*)\]/)[1].split(/,\s*/);
    assert.deepEqual(codes.filter((code) => !refusals.some(([one]) => one === code)), []);
    for (const [code, status, details, expected] of refusals) {
        await operate((route) => route.fulfill({status, json: {error: {code, text, ...details}},
            headers: details.retryAfter ? {'Retry-After': String(details.retryAfter)} : {}}));
        assert.equal(await page.locator('.toast-error p').textContent(), expected, code);
        assert.equal((await page.locator('[aria-live=assertive]').textContent()).trimEnd(), expected, code);
        await page.locator('.toast-error').getByRole('button', {name: 'Close'}).click();
    }
});

test('an operation that is not answered is sent again, with the key that it had', async () => {
    const keys = [];
    await operate((route) => {
        keys.push(route.request().headers()['idempotency-key']);
        // The second time a proxy answers in the place of the gateway.
        return keys.length === 2 ? route.fulfill({status: 502, contentType: 'text/html', body: '<h1>Bad gateway</h1>'})
            : route.abort();
    }, () => keys.length === 3);
    assert.equal(await page.locator('.toast-error p').textContent(),
        'The panel does not answer. Whether it has been done is not known.');
    const again = page.waitForRequest(where);
    await page.locator('.toast-error').getByRole('button', {name: 'Try again'}).click();
    keys.push((await again).headers()['idempotency-key']);
    assert.deepEqual(keys, Array(4).fill(keys[0]));
    await page.locator('.lock-holder', {hasText: 'Held by you'}).waitFor();
});
