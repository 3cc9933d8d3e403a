// SPDX-License-Identifier: Apache-2.0
// Chooses zones: by search, by group, one by one. Arrow keys move within the list, space chooses.

import {h, newId, replace, set, setText} from '../dom.js';
import {t} from '../i18n.js';
import {isFaulty} from '../Health.js';
import {groupsOf} from '../zoneGroups.js';
import {refill} from './pressing.js';
import {matches, wordsOf} from './search.js';

const mostFound = 200;
const mostChips = 30;

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
        this.sort();

        const searchId = newId();
        this.search = h('input', {id: searchId, type: 'search', autocomplete: 'off', maxlength: 200,
            placeholder: t('zones.search'), on: {input: () => this.fill()}});
        this.count = h('output', {class: 'zone-count'});
        this.none = h('button', {type: 'button', class: 'quiet', on: {click: () => this.removeAll()}},
            t('zones.removeAll'));
        this.chips = h('ul', {class: 'chips', 'aria-label': t('zones.chosen'), on: moving()});
        this.list = h('div', {class: 'zone-list', role: 'group', 'aria-label': t('zones.all'),
            on: moving()});
        this.element = h('div', {class: 'zone-picker'},
            h('label', {for: searchId, class: 'visually-hidden'}, t('zones.search')),
            this.search, h('div', {class: 'row zone-chosen'}, this.count, this.none), this.chips, this.list);
        this.fill();
    }

    setValue(names) {
        this.chosen = new Set(names);
        this.showChosen();
    }

    /// Lists the zones that match the search, by group.
    fill() {
        const words = wordsOf(this.search);
        const isSearch = words.length > 0;
        const found = this.grouped.map(({name, zones}) => ({name, zones: zones.filter((zone) => matches(words, zone.id))}))
            .filter(({zones}) => zones.length > 0);
        this.rows.clear();
        this.groups.clear();
        let more = 0;
        let left = isSearch ? mostFound : Infinity;
        const listed = found.map(({name, zones}) => {
            const its = zones.slice(0, left);
            left -= its.length;
            more += zones.length - its.length;
            return its.length > 0 && this.group(name, zones, its, isSearch);
        });
        replace(this.list, listed,
            more > 0 && h('p', {class: 'note'}, t('zones.more', {n: more})),
            found.length === 0 && h('p', {class: 'note'}, t(this.grouped.length === 0 ? 'zones.none' : 'zones.notFound')));
        this.showChosen();
        focusOn(this.list, stops(this.list)[0]);
    }

    /// `zones` belong to the group, `listed` are those of them for which there is a row.
    group(name, zones, listed, isSearch) {
        const isOpen = isSearch || zones.length === 1 || this.openGroups.has(name);
        const names = zones.map((zone) => zone.id);
        const members = h('ul', {class: 'zone-members', id: newId(), hidden: !isOpen},
            isOpen && listed.map((zone) => this.row(zone)));
        if (zones.length === 1) {
            return members;
        }
        const box = h('input', {type: 'checkbox', tabindex: -1, 'data-key': `group ${name}`,
            on: {change: () => this.choose(names, box.checked)}});
        const count = h('span', {class: 'zone-group-count'});
        const toggle = h('button', {type: 'button', class: 'zone-group-toggle', 'aria-expanded': isOpen,
            'aria-controls': members.id, 'aria-label': t('zones.open', {group: name}), tabindex: -1,
            on: {click: () => {
                const opens = members.hidden;
                this.openGroups[opens ? 'add' : 'delete'](name);
                if (opens && !members.firstChild) {
                    replace(members, listed.map((zone) => this.row(zone)));
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
        const box = h('input', {type: 'checkbox', tabindex: -1, 'data-key': `zone ${zone.id}`,
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
        set(this.none, 'hidden', this.chosen.size === 0);
        this.showChips();
    }

    showChips() {
        const listed = [...this.chosen].slice(0, mostChips);
        const displayed = JSON.stringify([listed, this.chosen.size]);
        if (displayed === this.displayed) {
            return;
        }
        this.displayed = displayed;
        const more = this.chosen.size - listed.length;
        replace(this.chips, listed.map((name, i) => h('li', {}, h('button', {type: 'button', tabindex: i === 0 ? 0 : -1,
            'aria-label': t('zones.remove', {zone: name}), on: {click: () => this.removeChip(name, i)}},
        h('bdi', {}, name), h('span', {'aria-hidden': 'true'}, ' ×')))),
        more > 0 && h('li', {class: 'note'}, t('zones.moreChosen', {n: more})));
    }

    removeChip(name, index) {
        this.choose([name], false);
        const chips = stops(this.chips);
        (chips[Math.min(index, chips.length - 1)] ?? this.search).focus();
    }

    removeAll() {
        this.choose([...this.chosen], false);
        this.search.focus();
    }

    /// Whether other zones are there than before, or they have other groups.
    sort() {
        const zones = this.store.all('zones');
        const names = zones.map((zone) => `${zone.group}\n${zone.id}`).join('\n');
        if (names === this.known) {
            return false;
        }
        this.known = names;
        this.grouped = groupsOf(zones);
        return true;
    }

    take(changes) {
        if (this.sort()) {
            refill(this.list, () => this.fill());
            return;
        }
        for (const zone of changes.get('zones') ?? this.rows.keys()) {
            if (this.rows.has(zone)) {
                this.showState(this.store.get('zones', zone));
            }
        }
    }
}

// ------------------------------------------------------------------------------------- the keyboard

/// What the arrow keys move between in a list: one of them is in the order of the Tab key.
function stops(list) {
    return [...list.querySelectorAll('input, button')].filter((element) => !element.closest('[hidden]'));
}

function focusOn(list, element) {
    list.querySelectorAll('[tabindex="0"]').forEach((one) => set(one, 'tabindex', -1));
    if (element) {
        set(element, 'tabindex', 0);
    }
}

function move(event) {
    const all = stops(event.currentTarget);
    const at = all.indexOf(document.activeElement);
    const to = {ArrowDown: at + 1, ArrowUp: at - 1, ArrowRight: at + 1, ArrowLeft: at - 1,
        Home: 0, End: all.length - 1}[event.key];
    if (to !== undefined && at >= 0) {
        event.preventDefault();
        all[Math.min(Math.max(to, 0), all.length - 1)].focus();
    }
}

/// The handlers of a list with one Tab stop.
function moving() {
    return {keydown: move, focusin: (event) => focusOn(event.currentTarget, event.target)};
}
