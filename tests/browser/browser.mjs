// SPDX-License-Identifier: Apache-2.0
// A browser for the tests of a file, its pages, and what holds for every page.

import assert from 'node:assert/strict';
import {readFileSync} from 'node:fs';
import {createRequire} from 'node:module';
import {after} from 'node:test';

import {chromium} from 'playwright-core';

import {programPath} from './programs.mjs';

export const sizes = {wide: {width: 1280, height: 800}, narrow: {width: 390, height: 844}};
export const themes = ['light', 'dark'];
export const views = ['board', 'announce', 'live', 'schedules', 'schedules/week', 'health', 'history'];

const patience = 10000;
// What the browser itself logs: connections to programs that have ended, lists that a server does not have.
const usual = /net::ERR_|status of 501/;
const axeSource = readFileSync(createRequire(import.meta.url).resolve('axe-core/axe.min.js'), 'utf8');

/// Begins when a test asks for it and ends after the tests of the file. A promise.
let browser = null;
const problems = [];

export function theBrowser() {
    browser ??= chromium.launch({executablePath: programPath('chromium'),
        args: ['--no-sandbox', '--autoplay-policy=no-user-gesture-required']});
    return browser;
}

after(async () => {
    await (await browser)?.close();
    assert.deepEqual(problems, [], 'no page reports an error, and none asks another host');
});

/// A page of a user of its own at an address, logged in when `user` is [name, password].
/// `expected` are the states of answers that the browser logs as errors and that belong to the test.
export async function openPage(url, {user = null, view = 'board', size = 'wide', theme = 'light',
    locale = 'en-GB', expected = [], context = null} = {}) {
    const own = context ?? await (await theBrowser()).newContext({viewport: sizes[size], colorScheme: theme,
        locale, reducedMotion: 'reduce', timezoneId: 'America/New_York'});
    const page = await own.newPage();
    if (process.env.PA_PAGE) {  // a folder with the scripts of the page, in place of those in papanel
        await page.route(`${url}/**/*.js`, (route) => route.fulfill({path: process.env.PA_PAGE + new URL(route.request().url()).pathname}));
    }
    page.setDefaultTimeout(patience);
    watch(page, url, expected);
    await page.goto(`${url}/#${view}`);
    if (user) {
        await logIn(page, user);
    }
    return page;
}

function watch(page, url, expected) {
    const isExpected = (text) => usual.test(text) || expected.some((status) => text.includes(`status of ${status} `));
    page.on('pageerror', (error) => problems.push(`error: ${error.message}`));
    page.on('console', (message) => {
        if (message.type() === 'error' && !isExpected(message.text())) {
            problems.push(`console: ${message.text()}`);
        }
    });
    page.on('dialog', (dialog) => {
        problems.push(`dialog: ${dialog.message()}`);
        dialog.dismiss();
    });
    page.on('request', (request) => {
        if (!request.url().startsWith(url) && !/^(data|blob):/.test(request.url())) {
            problems.push(`request to ${request.url()}`);
        }
    });
}

export async function logIn(page, [name, password]) {
    await page.getByLabel('User', {exact: true}).fill(name);
    await page.getByLabel('Password', {exact: true}).fill(password);
    await page.getByRole('button', {name: 'Log in'}).click();
}

/// Waits until the page has everything from the audio server.
export async function synced(page) {
    await page.locator('.link-state[data-state=synced]').waitFor();
    return page;
}

export async function goTo(page, view) {
    await page.evaluate((hash) => { location.hash = hash; }, view);
    await page.locator(`main.view-${view.split('/')[0]}`).waitFor();
}

// What only searches, filters, reads or closes.
const harmless = /^(Search|All |Busy |Faulty |From$|Until$|User$|Operation$|Outcome$|Reload$|Close$|Display the level$|The week |This week$)/;

/// The names of the controls of the view and its dialog with which something could be changed now.
export async function operable(page) {
    const names = await page.locator(':is(main, dialog) :is(button, input, select, textarea):enabled:not([class$="-tile"])')
        .evaluateAll((all) => all.filter((one) => one.checkVisibility()).map((one) =>
            (one.ariaLabel ?? one.labels?.[0]?.textContent ?? one.textContent).trim()));
    return names.filter((name) => !harmless.test(name));
}

/// A request to the API in the session of a page; resolves to {status, body}.
export async function call(page, method, where, body = null) {
    return page.evaluate(async ([method, where, body]) => {
        const session = await (await fetch('/api/v1/session')).json();
        const headers = {'X-CSRF-Token': session.csrf, 'Content-Type': 'application/json',
            'Idempotency-Key': `test-${Date.now()}-${Math.floor(Math.random() * 1e9)}`};
        const answer = await fetch(`/api/v1${where}`, {method, headers,
            body: body === null ? undefined : JSON.stringify(body)});
        const text = await answer.text();
        return {status: answer.status, body: text ? JSON.parse(text) : null};
    }, [method, where, body]);
}

/// The violations that axe-core finds, as short texts.
export async function violations(page) {
    await page.evaluate(axeSource);
    const found = await page.evaluate(async () => (await axe.run(document, {resultTypes: ['violations'],
        runOnly: ['wcag2a', 'wcag2aa', 'wcag21a', 'wcag21aa', 'wcag22aa', 'best-practice']})).violations);
    return found.map((one) => `${one.id}: ${one.nodes.slice(0, 3).map((node) => node.html).join(' ')}`);
}

/// Waits until a condition in the page holds.
export function until(page, condition, argument) {
    return page.waitForFunction(condition, argument, {polling: 'raf'});
}
