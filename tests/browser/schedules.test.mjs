// SPDX-License-Identifier: Apache-2.0
// Edits of schedules: what is not saved is kept, what others change is stated, what is wrong is named.

import assert from 'node:assert/strict';
import test, {after, before} from 'node:test';

import {call, goTo, logIn, openPage, synced, until} from './browser.mjs';
import {makeUsers, startPanel} from './programs.mjs';

const olga = ['olga', 'a long password'];
const schedule = (descrption, more = {}) => ({descrption, startYear: 2026, startMonth: 1, startDay: 1, endYear: 2099, endMonth: 12,
    endDay: 31, startHour: 7, endHour: 21, dayMask: 127, frequency: 30, paZones: ['Concourse'], announcementType: 4,
    ttsList: [{text: 'Luggage', language: 'en', voice: 'Amelia'}], ...more});
let panel = null;
let page = null;
let editor = null;

before(async () => {
    panel = await startPanel(['--scenario', new URL('../../scenarios/central-station.json', import.meta.url).pathname,
        '--users', makeUsers({olga: ['operator', olga[1]]})]);
    page = await synced(await openPage(panel.url, {user: olga, view: 'schedules'}));
    editor = page.getByRole('dialog');
    await call(page, 'POST', '/schedules', schedule('Luggage'));
    await call(page, 'POST', '/schedules', schedule('Closing time'));
    await page.getByRole('button', {name: 'Edit Luggage'}).waitFor();
});
after(() => panel?.program.stop());

const focusIsOn = (name) => until(page, (wanted) =>
    (document.activeElement.getAttribute('aria-label') ?? document.activeElement.textContent).trim() === wanted, name);
const noted = (text) => editor.locator('.problem', {hasText: text}).waitFor();
const name = () => editor.getByLabel('Name');

test('Back and the end of the session keep an edit, Cancel does not', async () => {
    await page.getByRole('button', {name: 'New schedule'}).dblclick();
    await name().fill('Tomorrow');
    assert.equal(await editor.count(), 1);
    await page.goBack();
    await editor.waitFor({state: 'detached'});
    await page.getByRole('button', {name: 'Continue'}).click();
    await noted('These changes were not saved.');
    assert.equal(await name().inputValue(), 'Tomorrow');
    await call(page, 'DELETE', '/session');
    await page.getByRole('heading', {name: 'Log in'}).waitFor();
    await logIn(page, olga);
    await until(page, () => document.querySelector('dialog input')?.value === 'Tomorrow');
    await editor.getByRole('button', {name: 'Cancel'}).click();
    await page.getByRole('button', {name: 'New schedule'}).press('Enter');
    assert.equal(await name().inputValue(), '');
    await page.keyboard.press('Escape');
    await focusIsOn('New schedule');
});

test('what others do to a schedule is stated, also where an edit is continued', async () => {
    await page.getByRole('button', {name: 'Edit Luggage'}).press('Enter');
    await name().fill('Mine');
    await page.keyboard.press('Escape');
    await call(page, 'PUT', '/schedules/1', schedule('Theirs', {frequency: 60}));
    await page.getByRole('button', {name: 'Edit Theirs'}).press('Enter');
    await noted('These changes were not saved. This schedule has been changed meanwhile.');
    await editor.getByRole('button', {name: 'Start over'}).click();
    assert.deepEqual([await name().inputValue(), await editor.getByLabel('Minutes between runs').inputValue()], ['Theirs', '60']);
    await call(page, 'DELETE', '/schedules/1');
    await noted('This schedule has been deleted meanwhile.');
    await editor.getByRole('button', {name: 'Create'}).click();
    await page.getByRole('button', {name: 'Edit Theirs'}).waitFor();
});

test('a value that is wrong is named and not saved; the focus is on the next row after a deletion', async () => {
    await goTo(page, 'schedules/table/2');
    await editor.getByText('Next runs').waitFor();
    const save = editor.getByRole('button', {name: 'Save'});
    await editor.getByLabel('Minutes between runs').fill('');
    await editor.getByText('Correct the value: Minutes between runs.').waitFor();
    assert.ok(await save.isDisabled());
    await editor.getByLabel('Minutes between runs').fill('10');
    await editor.getByLabel('Last day').fill('2025-12-31');
    await editor.getByText('The last day is before the first one.').waitFor();
    assert.ok(await save.isDisabled());
    await editor.getByLabel('Last day').fill('9999-12-31');
    await save.press('Enter');
    await editor.waitFor({state: 'detached'});
    await page.getByRole('button', {name: 'Delete Closing time'}).press('Enter');
    await editor.getByRole('button', {name: 'Delete'}).press('Enter');
    await focusIsOn('Delete Theirs');
    await goTo(page, 'history');
    await page.getByLabel('Operation').selectOption('Remove schedule');
    await page.getByRole('row', {name: /olga Remove schedule/}).first().waitFor();
});
