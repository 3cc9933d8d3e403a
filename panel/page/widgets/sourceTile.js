// SPDX-License-Identifier: Apache-2.0
// A source in the list of the live view.

import {h, replace, set, setText} from '../dom.js';
import {t} from '../i18n.js';
import {icon} from '../icons.js';
import {healthBadge} from './healthBadge.js';

const attached = 2;
const mostTypes = 9;

export function sourceType(source) {
    return source.type > 0 && source.type <= mostTypes ? t(`sourceType.${source.type}`)
        : t('type.unknown');
}

export function isAttached(source) {
    return source.state === attached;
}

export function sourceName(source) {
    return source.label || t('source.number', {n: String(source.id)});
}

/// A cell of a VirtualList; `onOpen(id)` is called when the user chooses it.
export function sourceTile(store, locks, onOpen) {
    let id = 0;
    let lastLock = '';
    const name = h('strong', {class: 'source-name', dir: 'auto'});
    const location = h('span', {class: 'source-facts', dir: 'auto'});
    const facts = h('span', {class: 'source-facts', dir: 'auto'});
    const lock = h('span', {class: 'badge', dir: 'auto'});
    const health = healthBadge();
    const button = h('button', {type: 'button', class: 'source-tile', on: {click: () => onOpen(id)}},
        name, location, facts, h('span', {class: 'row'}, lock, health.element));
    return {
        element: button,
        focusable: button,
        update(key) {
            const source = store.get('sources', key);
            if (!source) {
                return;
            }
            id = key;
            setText(name, sourceName(source));
            setText(location, source.location);
            setText(facts, [sourceType(source), t(isAttached(source) ? 'source.attached' : 'source.free')]
                .join(' \u00b7 '));
            set(button, 'data-attached', isAttached(source) ? 'yes' : null);
            const holder = locks.text(key);
            if (holder !== lastLock) {
                lastLock = holder;
                replace(lock, icon(locks.heldBy(key) ? 'lock' : 'unlock'), holder);
            }
            set(lock, 'data-level', {'this page': 'busy', 'another page': 'warn',
                'another client': 'warn'}[locks.heldBy(key)] ?? null);
            health.update(store.health.level('sources', source));
        },
    };
}
