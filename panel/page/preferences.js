// SPDX-License-Identifier: Apache-2.0
// The dialogs for the user's settings and for the list of shortcuts.

import {attempt} from './messages.js';
import {openDialog} from './dialogs.js';
import {h} from './dom.js';
import {language, languages, t} from './i18n.js';
import {choose, setting} from './settings.js';
import {knownZone} from './timeZones.js';

/// Whether single keys are shortcuts; who dictates by voice switches them off.
export function shortcutsAreOn() {
    return setting('shortcuts') !== 'off';
}

function choice(label, current, options, onChoose, isFirst = false) {
    const select = h('select', {'data-autofocus': isFirst ? '' : null, on: {change: () => onChoose(select.value)}},
        options.map(([value, text]) => h('option', {value, selected: value === current}, text)));
    return h('label', {class: 'field'}, h('span', {}, label), select);
}

export function openSettings(app) {
    const {session} = app;
    const dialog = openDialog({title: t('settings.title'), kind: 'question', content: [
        h('p', {dir: 'auto'}, t('settings.user', {user: session.user, role: t(`role.${session.role}`)})),
        h('p', {class: 'note'}, t('frame.times', {zone: knownZone(app.store.status?.timeZone)})),
        choice(t('settings.language'), language(),
            Object.entries(languages).map(([tag, {name}]) => [tag, name]),
            (tag) => {
                app.setLanguage(tag);
                openSettings(app);
            }, true),
        choice(t('settings.theme'), setting('theme') ?? 'system',
            ['system', 'light', 'dark'].map((name) => [name, t(`theme.${name}`)]),
            (name) => {
                choose('theme', name === 'system' ? null : name);
                document.dispatchEvent(new Event('themechange'));
            }),
        h('label', {class: 'check'},
            h('input', {type: 'checkbox', checked: shortcutsAreOn(), on: {change: (event) =>
                choose('shortcuts', event.target.checked ? null : 'off')}}),
            h('span', {}, t('settings.shortcuts'))),
    ], footer: [
        session.authentication && h('button', {type: 'button', on: {click: () => {
            dialog.close();
            attempt(() => app.logOut());
        }}}, t('settings.logOut')),
        h('button', {type: 'button', class: 'primary', on: {click: () => dialog.close()}},
            t('dialog.done')),
    ]});
}

export function openShortcuts(shortcuts) {
    openDialog({title: t('shortcuts.title'), kind: 'question', content: [
        h('dl', {class: 'shortcuts'}, shortcuts.map(({key, text}) =>
            [h('dt', {}, h('kbd', {}, key)), h('dd', {}, text)])),
        h('p', {class: 'note'}, t('shortcuts.note')),
    ]});
}
