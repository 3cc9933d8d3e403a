// SPDX-License-Identifier: Apache-2.0
// The zones that are attached to a source.

import {path} from '../api.js';
import {openDialog} from '../dialogs.js';
import {h, replace, set} from '../dom.js';
import {compareNames} from '../format.js';
import {t} from '../i18n.js';
import {icon} from '../icons.js';
import {attempt} from '../messages.js';
import {keepFocus, once, refill} from './pressing.js';
import {zonePicker} from './zonePicker.js';

export function sourceZones(app, id) {
    const where = path`/sources/${id}/zones`;
    let zones = [];
    let areKnown = false;
    let whyNot = null;
    let readings = 0;
    const list = h('ul', {class: 'source-zones', 'aria-label': t('source.zones')});
    const none = h('p', {class: 'note'}, t('source.noZones'));
    const choose = h('button', {type: 'button', on: {click: once(() => pick())}}, icon('edit'),
        t('source.chooseZones'));
    const clear = h('button', {type: 'button', on: {click: once(() => operate('DELETE'))}},
        t('source.detachAll'));
    const element = h('div', {class: 'stack'}, list, none, h('div', {class: 'row'}, choose, clear));

    function display() {
        set(none, 'hidden', !areKnown || zones.length > 0);
        set(list, 'hidden', zones.length === 0);
        set(choose, 'disabled', whyNot !== null);
        set(clear, 'disabled', whyNot !== null || zones.length === 0);
        set(choose, 'title', whyNot);
        set(clear, 'title', whyNot);
        const wanted = [...zones].sort(compareNames);
        const isSame = list.children.length === wanted.length
            && wanted.every((zone, i) => list.children[i].dataset.zone === zone);
        if (!isSame) {
            refill(list, () => replace(list, wanted.map((zone) => h('li', {class: 'chip', 'data-zone': zone},
                h('bdi', {}, zone),
                h('button', {type: 'button', class: 'quiet icon-button',
                    'aria-label': t('source.detach', {zone}),
                    on: {click: once(() => operate('PUT', {zones: [zone], mode: 'remove'}))}}, icon('close'))))));
        }
        list.querySelectorAll('button').forEach((button) => set(button, 'disabled', whyNot !== null));
    }

    async function operate(method, body = null) {
        await attempt(() => app.api.operate(method, where, body), t('source.zonesDone'));
        await read();
        keepFocus(list.querySelector('button'), choose);
    }

    async function read() {
        readings += 1;
        const reading = readings;
        try {
            const answer = await app.api.get(where);
            if (reading === readings) {
                zones = answer.zones;
                areKnown = true;
                display();
            }
        } catch {
            // Is read again with the next change of a source.
        }
    }

    /// Resolves when the dialog is closed.
    function pick() {
        const picker = zonePicker({store: app.store, chosen: zones});
        return new Promise((resolve) => {
            const attach = () => {
                const chosen = picker.value();
                dialog.close();
                if (chosen.length > 0) {
                    operate('PUT', {zones: chosen, mode: 'replace'});
                } else if (zones.length > 0) {
                    operate('DELETE');
                }
            };
            const dialog = openDialog({title: t('source.chooseZones'), content: [picker.element], footer: [
                h('button', {type: 'button', on: {click: () => dialog.close()}}, t('dialog.cancel')),
                h('button', {type: 'button', class: 'primary', on: {click: attach}}, t('source.attachZones')),
            ], onClose: () => {
                picker.destroy();
                resolve();
            }});
        });
    }

    return {
        element,
        read,
        /// `reason` is why nothing can be changed now, or null.
        fill(reason) {
            whyNot = reason;
            display();
        },
    };
}
