// SPDX-License-Identifier: Apache-2.0
// Sends the schedules of a file to the server.

import {confirm, openDialog} from '../dialogs.js';
import {h} from '../dom.js';
import {t} from '../i18n.js';
import {attempt, toast} from '../messages.js';

/// Null for a file without a list.
async function listIn(file) {
    try {
        const list = JSON.parse(await file.text());
        return Array.isArray(list) ? list : null;
    } catch {
        return null;
    }
}

export async function importSchedules(app, file) {
    const list = await listIn(file);
    if (!list) {
        toast(t('schedules.noList', {name: file.name}), 'error');
        return;
    }
    const known = new Set(app.store.all('schedules').map((schedule) => schedule.Id));
    const taken = list.filter((one) => known.has(one?.Id)).length;
    const isReplacing = taken > 0 && await confirm({title: t('schedules.import'), isDangerous: true,
        text: t('schedules.replaceText', {n: taken}), action: t('schedules.replace')});
    if (taken > 0 && !isReplacing) {
        return;
    }
    const answer = await attempt(() => app.api.operate('POST', '/schedules/import', list,
        {query: isReplacing ? {replace: 1} : {}}));
    if (!answer) {
        return;
    }
    const {imported, failed} = answer;
    const text = t('schedules.imported', {n: imported});
    toast(text, imported > 0 ? 'done' : 'note');
    if (failed.length > 0) {
        openDialog({title: t('schedules.failed'), kind: 'question', content: [h('p', {}, text),
            h('ul', {class: 'stack'}, failed.map((one) =>
                h('li', {dir: 'auto'}, t('schedules.failedEntry', {entry: String(one.entry), reason: one.reason}))))]});
    }
}
