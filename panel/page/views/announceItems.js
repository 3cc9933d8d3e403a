// SPDX-License-Identifier: Apache-2.0
// Items of the server's dictionary in the order in which they are played.

import {h, newId, replace, set, setText} from '../dom.js';
import {t} from '../i18n.js';
import {icon} from '../icons.js';
import {matches, wordsOf} from '../widgets/search.js';
import {field, secondsText} from './announceParts.js';

const mostFound = 50;

/// The value is a list of numbers. `dictionary` is null where the server does not list its items: they
/// are typed in then.
export function itemsEditor({dictionary, value, onChange}) {
    let items = [...value];
    const known = new Map((dictionary ?? []).map((entry) => [entry.item, entry]));
    const sequence = h('ol', {class: 'item-sequence', 'aria-label': t('compose.sequence')});
    const total = h('output', {class: 'note'});

    const change = (next) => {
        items = next;
        fill();
        onChange(items);
    };
    const button = (name, label, isEnabled, click) => h('button', {type: 'button', class: 'quiet icon-button',
        'aria-label': label, disabled: !isEnabled, on: {click}}, icon(name));
    const move = (i, to) => {
        const next = [...items];
        [next[i], next[to]] = [next[to], next[i]];
        change(next);
        sequence.children[to].querySelectorAll('button')[to < i ? 0 : 1].focus();
    };
    const remove = (i) => {
        change(items.filter((_, j) => j !== i));
        (sequence.children[Math.min(i, items.length - 1)]?.querySelector('button:last-child')
            ?? finder.querySelector('input')).focus();
    };
    const nameOf = (item) => known.get(item)?.text ?? t('compose.itemNumber', {item: String(item)});
    const fill = () => {
        replace(sequence, items.map((item, i) => h('li', {}, h('bdi', {}, nameOf(item)),
            button('up', t('compose.moveUp', {item: nameOf(item)}), i > 0, () => move(i, i - 1)),
            button('down', t('compose.moveDown', {item: nameOf(item)}), i < items.length - 1, () => move(i, i + 1)),
            button('trash', t('compose.removeItem', {item: nameOf(item)}), true, () => remove(i)))));
        const seconds = items.reduce((sum, item) => sum + (known.get(item)?.seconds ?? 0), 0);
        setText(total, items.length === 0 ? t('compose.noItems')
            : t('compose.itemsTotal', {n: items.length, length: secondsText(seconds)}));
    };
    const add = (item) => change([...items, item]);
    const finder = dictionary === null ? numberFinder(add) : textFinder(dictionary, add);
    fill();
    return h('div', {class: 'stack'}, finder, sequence, total);
}

function numberFinder(add) {
    const input = h('input', {type: 'number', min: 1, step: 1, on: {keydown: (event) => {
        if (event.key === 'Enter') {
            event.preventDefault();
            take();
        }
    }}});
    const take = () => {
        if (input.valueAsNumber >= 1 && input.validity.valid) {
            add(input.valueAsNumber);
            set(input, 'value', '');
        }
        input.focus();
    };
    return h('div', {class: 'row'}, field(t('compose.item'), input),
        h('button', {type: 'button', on: {click: take}}, icon('plus'), t('compose.add')));
}

/// A search over the texts with the found items as a list box: the arrow keys choose, Enter adds.
function textFinder(dictionary, add) {
    const listId = newId();
    let found = [];
    let at = 0;
    const options = h('ul', {id: listId, role: 'listbox', class: 'item-options', 'aria-label': t('compose.dictionary')});
    const input = h('input', {type: 'search', role: 'combobox', autocomplete: 'off', maxlength: 200,
        'aria-expanded': true, 'aria-controls': listId, 'aria-autocomplete': 'list',
        on: {input: () => find(), keydown: (event) => press(event)}});
    const note = h('p', {class: 'note', role: 'status'});
    const mark = (index) => {
        at = Math.min(Math.max(index, 0), found.length - 1);
        [...options.querySelectorAll('[role=option]')].forEach((option, i) => {
            set(option, 'aria-selected', i === at);
            if (i === at) {
                set(input, 'aria-activedescendant', option.id);
                option.scrollIntoView({block: 'nearest'});
            }
        });
    };
    const find = () => {
        const words = wordsOf(input);
        const all = dictionary.filter(({item, text}) => matches(words, text) || String(item) === words.join(' '));
        found = all.slice(0, mostFound);
        setText(note, all.length === 0 ? t('list.noMatch')
            : all.length > found.length ? t('zones.more', {n: all.length - found.length}) : '');
        replace(options, found.map((entry) => h('li', {id: newId(), role: 'option', 'aria-selected': false,
            on: {click: () => add(entry.item)}}, h('bdi', {}, entry.text),
        h('small', {}, secondsText(entry.seconds)))));
        mark(0);
    };
    const press = (event) => {
        const to = {ArrowDown: at + 1, ArrowUp: at - 1, Home: 0, End: found.length - 1}[event.key];
        if (event.key === 'Enter') {
            event.preventDefault();
            if (found[at]) {
                add(found[at].item);
            }
        } else if (to !== undefined && (event.key.startsWith('Arrow') || input.value === '')) {
            event.preventDefault();
            mark(to);
        }
    };
    find();
    return h('div', {class: 'item-finder'}, field(t('compose.findItem'), input, t('compose.findItemNote')), options, note);
}
