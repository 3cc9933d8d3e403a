// SPDX-License-Identifier: Apache-2.0
// Chooses zones: by search, by group, one by one. Arrow keys move within the list, space chooses.

import {h, newId, replace, set, setText} from '../dom.js';
import {compareNames} from '../format.js';
import {t} from '../i18n.js';
import {isFaulty} from '../Health.js';

const mostFound = 200;

/// `chosen` are names of zones; `onChange(names)` is called when the user has changed them. The
/// element is to be removed with `destroy()`.
export function zonePicker({store, chosen = [], onChange = () => {}}) {
    const picker = new ZonePicker(store, chosen, onChange);
    return {
        element: picker.element,
        search: picker.search,
        value: () => [...picker.chosen],
        setValue: (names) => picker.setValue(names),
        destroy: store.subscribe(['zones'], (changes) => picker.take(changes)),
    };
}

class ZonePicker {
    constructor(store, chosen, onChange) {
        this.store = store;
        this.chosen = new Set(chosen);
        this.onChange = onChange;
        this.openGroups = new Set();
        this.rows = new Map();    // by zone: what is in the document of it
        this.groups = new Map();  // by group: its checkbox and count

        const searchId = newId();
        this.search = h('input', {id: searchId, type: 'search', autocomplete: 'off', maxlength: 200,
            placeholder: t('zones.search'), on: {input: () => this.fill()}});
        this.count = h('output', {class: 'zone-count'});
        this.chips = h('ul', {class: 'chips', 'aria-label': t('zones.chosen')});
        this.list = h('div', {class: 'zone-list', role: 'group', 'aria-label': t('zones.all'),
            on: {keydown: (event) => this.move(event), focusin: (event) => this.focusOn(event.target)}});
        this.element = h('div', {class: 'zone-picker'},
            h('label', {for: searchId, class: 'visually-hidden'}, t('zones.search')),
            this.search, this.chips, this.count, this.list);
        this.fill();
    }

    setValue(names) {
        this.chosen = new Set(names);
        this.showChosen();
    }

    /// The zones by group, in the order of their names.
    grouped(zones) {
        const byGroup = new Map();
        for (const zone of [...zones].sort((a, b) => compareNames(a.id, b.id))) {
            const group = zone.group || t('zones.noGroup');
            if (!byGroup.has(group)) {
                byGroup.set(group, []);
            }
            byGroup.get(group).push(zone);
        }
        return [...byGroup].sort(([a], [b]) => compareNames(a, b));
    }

    fill() {
        const words = this.search.value.trim().toLocaleLowerCase().split(/\s+/);
        const zones = this.store.all('zones');
        const found = zones.filter((zone) => words.every((word) => zone.id.toLocaleLowerCase().includes(word)));
        const isSearch = words[0] !== '';
        this.rows.clear();
        this.groups.clear();
        const listed = isSearch ? found.slice(0, mostFound) : found;
        replace(this.list, this.grouped(listed).map(([group, members]) => this.group(group, members, isSearch)),
            found.length > listed.length && h('p', {class: 'note'}, t('zones.more', {n: found.length - listed.length})),
            found.length === 0 && h('p', {class: 'note'}, t(zones.length === 0 ? 'zones.none' : 'zones.notFound')));
        this.showChosen();
        this.focusOn(this.boxes()[0] ?? null);
    }

    group(name, zones, isSearch) {
        const isOpen = isSearch || zones.length === 1 || this.openGroups.has(name);
        const names = zones.map((zone) => zone.id);
        const members = h('ul', {class: 'zone-members', id: newId(), hidden: !isOpen},
            isOpen && zones.map((zone) => this.row(zone)));
        if (zones.length === 1) {
            return members;
        }
        const box = h('input', {type: 'checkbox', tabindex: -1,
            on: {change: () => this.choose(names, box.checked)}});
        const count = h('span', {class: 'zone-group-count'});
        const toggle = h('button', {type: 'button', class: 'zone-group-toggle', 'aria-expanded': isOpen,
            'aria-controls': members.id, 'aria-label': t('zones.open', {group: name}), tabindex: -1,
            on: {click: () => {
                const opens = members.hidden;
                this.openGroups[opens ? 'add' : 'delete'](name);
                if (opens && !members.firstChild) {
                    replace(members, zones.map((zone) => this.row(zone)));
                    this.showChosen();
                }
                set(members, 'hidden', !opens);
                set(toggle, 'aria-expanded', opens);
            }}}, h('span', {'aria-hidden': 'true'}, '›'));
        this.groups.set(name, {box, count, names});
        return h('section', {class: 'zone-group'},
            h('div', {class: 'zone-group-head'},
                h('label', {}, box, h('bdi', {}, name), ' ', count), toggle), members);
    }

    row(zone) {
        const box = h('input', {type: 'checkbox', tabindex: -1,
            on: {change: () => this.choose([zone.id], box.checked)}});
        const state = h('span', {class: 'zone-state'});
        this.rows.set(zone.id, {box, state});
        this.showState(zone);
        return h('li', {}, h('label', {}, box, h('bdi', {}, zone.id), ' ', state));
    }

    showState(zone) {
        const {state} = this.rows.get(zone.id);
        const level = this.store.health.zone(zone).level;
        const words = [zone.activity !== 0 && t('zones.busy'), isFaulty(level) && t('zones.faulty')];
        setText(state, words.filter(Boolean).join(', '));
    }

    choose(names, isChosen) {
        names.forEach((name) => this.chosen[isChosen ? 'add' : 'delete'](name));
        this.showChosen();
        this.onChange([...this.chosen]);
    }

    showChosen() {
        for (const [name, {box}] of this.rows) {
            set(box, 'checked', this.chosen.has(name));
        }
        for (const {box, count, names} of this.groups.values()) {
            const some = names.filter((name) => this.chosen.has(name)).length;
            set(box, 'checked', some === names.length);
            set(box, 'indeterminate', some > 0 && some < names.length);
            setText(count, t(some > 0 ? 'zones.groupChosen' : 'zones.groupCount', {n: names.length, some}));
        }
        setText(this.count, t('zones.count', {n: this.chosen.size}));
        replace(this.chips, [...this.chosen].map((name) => h('li', {}, h('button', {type: 'button',
            'aria-label': t('zones.remove', {zone: name}), on: {click: () => this.removeChip(name)}},
        h('bdi', {}, name), h('span', {'aria-hidden': 'true'}, ' ×')))));
    }

    removeChip(name) {
        this.choose([name], false);
        (this.chips.querySelector('button') ?? this.search).focus();
    }

    take(changes) {
        const names = this.store.all('zones').map((zone) => `${zone.group}\n${zone.id}`).join('\n');
        if (names !== this.known) {
            this.known = names;
            this.fill();
            return;
        }
        for (const zone of changes.get('zones') ?? this.rows.keys()) {
            if (this.rows.has(zone)) {
                this.showState(this.store.get('zones', zone));
            }
        }
    }

    // --------------------------------------------------------------------------------- the keyboard

    /// What the arrow keys move between: one of them is in the order of the Tab key.
    boxes() {
        return [...this.list.querySelectorAll('input, .zone-group-toggle')]
            .filter((element) => !element.closest('[hidden]'));
    }

    focusOn(element) {
        this.list.querySelectorAll('[tabindex="0"]').forEach((one) => set(one, 'tabindex', -1));
        if (element && element !== this.list) {
            set(element, 'tabindex', 0);
        }
    }

    move(event) {
        const boxes = this.boxes();
        const at = boxes.indexOf(document.activeElement);
        const to = {ArrowDown: at + 1, ArrowUp: at - 1, ArrowRight: at + 1, ArrowLeft: at - 1,
            Home: 0, End: boxes.length - 1}[event.key];
        if (to !== undefined && at >= 0) {
            event.preventDefault();
            boxes[Math.min(Math.max(to, 0), boxes.length - 1)].focus();
        }
    }
}
