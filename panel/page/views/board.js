// SPDX-License-Identifier: Apache-2.0
// The zones by group, with what they do, their health and what plays in them.

import {VirtualList} from '../VirtualList.js';
import {isFaulty} from '../Health.js';
import {h, newId, set, setText} from '../dom.js';
import {t} from '../i18n.js';
import {icon} from '../icons.js';
import {groupsOf} from '../zoneGroups.js';
import {ZoneDrawer} from '../widgets/ZoneDrawer.js';
import {keepFocus} from '../widgets/pressing.js';
import {matches, wordsOf} from '../widgets/search.js';
import {isBusy, zoneTile} from '../widgets/zoneTile.js';

const filters = {
    all: () => true,
    busy: isBusy,
    faulty: (zone, store) => isFaulty(store.health.zone(zone).level),
};

class Board {
    shortcuts;
    #app;
    #store;
    #groupOf = new Map();  // of all zones, by group and name
    #filter = 'all';
    #search;
    #counts = {};     // by filter: the element with its count
    #empty = h('p', {class: 'empty', hidden: true});
    #list;
    #drawer = null;
    #unsubscribe;

    constructor(root, app, parts) {
        this.#app = app;
        this.#store = app.store;
        this.#list = new VirtualList({label: t('board.list'), itemHeight: 92, minItemWidth: 220,
            isGroup: true, createCell: () => zoneTile(this.#store, (zone) => app.go('board', zone))});
        this.#search = h('input', {type: 'search', id: newId(), autocomplete: 'off', maxlength: 200,
            placeholder: t('board.search'), on: {input: () => this.#fill()}});
        root.append(this.#tools(), this.#empty, this.#list.element);
        this.shortcuts = [
            {key: '/', text: t('board.search'), run: () => this.#search.focus()},
            {key: 'l', text: t('board.toList'), run: () => this.#list.focusActive()},
        ];
        this.#unsubscribe = this.#store.subscribe(['zones', 'announcements', 'status'],
            (changes) => this.#take(changes));
        this.#sort();
        this.#fill();
        this.update(parts);
    }

    unmount() {
        this.#unsubscribe();
        this.#drawer?.close();
        this.#list.unmount();
    }

    /// The address names a zone, or none.
    update([zone]) {
        this.#drawer?.close();
        this.#drawer = zone ? new ZoneDrawer(this.#app, zone, () => {
            this.#list.focus(zone);
            keepFocus(this.#search);
        }) : null;
    }

    #tools() {
        const name = newId();
        const segments = Object.keys(filters).map((filter) => {
            this.#counts[filter] = h('span', {});
            const radio = h('input', {type: 'radio', name, checked: filter === this.#filter,
                on: {change: () => {
                    this.#filter = filter;
                    this.#fill();
                }}});
            return h('label', {}, radio, this.#counts[filter]);
        });
        return h('div', {class: 'row'},
            h('div', {class: 'search'}, icon('search'),
                h('label', {for: this.#search.id, class: 'visually-hidden'}, t('board.search')),
                this.#search),
            h('div', {class: 'segments', role: 'radiogroup', 'aria-label': t('board.filter')}, segments));
    }

    #take(changes) {
        const zones = changes.get('zones');
        if (zones === null || this.#store.count('zones') !== this.#groupOf.size
            || [...zones ?? []].some((zone) => !this.#groupOf.has(zone))) {
            this.#sort();
            this.#fill();
        } else if (zones) {
            this.#fill(this.#filter === 'all');
        } else if (changes.has('status')) {
            this.#fill();
        }
        this.#list.update(changes.has('announcements') ? null : zones ?? []);
    }

    #sort() {
        const groups = groupsOf(this.#store.all('zones'));
        this.#groupOf = new Map(groups.flatMap(({name, zones}) => zones.map((zone) => [zone.id, name])));
    }

    /// Counts the zones of each filter, and lists those of the one that is chosen.
    #fill(countOnly = false) {
        const words = wordsOf(this.#search);
        const zones = [...this.#groupOf.keys()].map((id) => this.#store.get('zones', id));
        for (const [filter, belongs] of Object.entries(filters)) {
            const count = zones.filter((zone) => belongs(zone, this.#store)).length;
            setText(this.#counts[filter], t(`board.${filter}`, {n: count}));
        }
        if (countOnly) {
            return;
        }
        const isWanted = filters[this.#filter];
        const entries = [];
        let group = null;
        for (const zone of zones) {
            if (isWanted(zone, this.#store) && matches(words, zone.id)) {
                if (this.#groupOf.get(zone.id) !== group) {
                    group = this.#groupOf.get(zone.id);
                    entries.push({heading: group, text: group});
                }
                entries.push({key: zone.id});
            }
        }
        this.#list.setEntries(entries);
        const isLoading = this.#store.link().state === 'loading' && zones.length === 0;
        setText(this.#empty, isLoading ? t('list.loading')
            : zones.length > 0 ? t('list.noMatch') : t('list.empty'));
        set(this.#empty, 'hidden', entries.length > 0);
    }
}

export default {
    id: 'board',
    titleKey: 'board.title',
    icon: 'board',
    roles: ['operator', 'monitor'],
    mount: (root, app, parts) => new Board(root, app, parts),
};
