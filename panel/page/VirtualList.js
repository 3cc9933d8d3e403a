// SPDX-License-Identifier: Apache-2.0
// A list whose rows out of sight are not in the document. Cells are made once, moved and filled again.

import {ListCell, kindOf} from './ListCell.js';
import {ListLayout, isHeading} from './ListLayout.js';
import {h, set} from './dom.js';

const overscan = 240;  // pixels

export class VirtualList {
    element;
    #options;
    #space = h('div', {class: 'virtual-space'});
    #entries = [];       // {key} or {heading, text}
    #ids = new Map();    // index of an entry by its id
    #layout = null;
    #cells = new Map();  // by id, those in the document
    #pools = {item: [], heading: []};
    #active = null;      // id of the item that Tab reaches
    #isDue = false;
    #observer;

    /// `options`:
    /// - label: the name of the list
    /// - itemHeight, headingHeight: pixels
    /// - minItemWidth: of a column; without it there is one
    /// - createCell(): {element, update(key), focusable}
    /// - isGroup: Tab reaches the `focusable` elements of the items once, and arrow keys move among them
    constructor(options) {
        this.#options = {headingHeight: 40, minItemWidth: Infinity, ...options};
        set(this.#space, 'role', 'list');
        set(this.#space, 'aria-label', options.label);
        this.element = h('div', {class: 'virtual-list', tabindex: options.isGroup ? null : 0, on: {
            scroll: () => this.#renderSoon(),
            keydown: (event) => this.#onKey(event),
            focusin: (event) => this.#onFocus(event),
        }}, this.#space);
        this.#observer = new ResizeObserver(() => this.#arrange());
        this.#arrange();
        this.#observer.observe(this.element);
    }

    unmount() {
        this.#observer.disconnect();
        this.element.remove();
    }

    /// The entries in order: {key} for an item, {heading, text} for a heading.
    setEntries(entries) {
        const focused = this.#focusedId();
        const focusedAt = focused === null ? -1 : this.#ids.get(focused);
        this.#entries = entries;
        this.#ids = new Map(entries.map((entry, i) => [this.#idOf(entry), i]));
        if (!this.#ids.has(this.#active)) {
            const next = entries.slice(Math.max(0, focusedAt)).find((entry) => !isHeading(entry))
                ?? entries.findLast((entry) => !isHeading(entry));
            this.#active = next ? this.#idOf(next) : null;
        }
        this.#arrange();
        if (focused !== null && !this.#ids.has(focused)) {
            if (this.#active === null) {
                this.element.closest('main, .dialog-body')?.focus();
            } else {
                this.#focus(this.#ids.get(this.#active));
            }
        }
    }

    /// Fills the cells of the keys again, all for null.
    update(keys) {
        if (keys === null) {
            this.#cells.forEach((cell) => cell.fill());
            return;
        }
        for (const key of keys) {
            this.#cells.get(`item ${key}`)?.fill();
        }
    }

    /// Brings an item into sight and gives it the focus.
    focus(key) {
        const index = this.#ids.get(`item ${key}`);
        if (index !== undefined) {
            this.#focus(index);
        }
    }

    /// Gives the list the focus.
    focusActive() {
        if (this.#active !== null) {
            this.#focus(this.#ids.get(this.#active));
        }
    }

    #idOf(entry) {
        return isHeading(entry) ? `heading ${entry.heading}` : `item ${entry.key}`;
    }

    #arrange() {
        this.#layout = new ListLayout(this.#entries, this.element.clientWidth, this.#options);
        this.#space.style.height = `${this.#layout.height}px`;
        this.#render();
    }

    #renderSoon() {
        if (!this.#isDue) {
            this.#isDue = true;
            requestAnimationFrame(() => {
                this.#isDue = false;
                this.#render();
            });
        }
    }

    #render() {
        const {scrollTop, clientHeight} = this.element;
        const [first, end] = this.#layout.between(scrollTop - overscan,
            scrollTop + clientHeight + overscan);
        const wanted = new Map();
        for (let i = first; i < end; i += 1) {
            wanted.set(this.#idOf(this.#entries[i]), i);
        }
        // Tab has to reach the active item, and the focus stays where it is.
        for (const id of [this.#active, this.#focusedId()]) {
            if (id !== null && this.#ids.has(id)) {
                wanted.set(id, this.#ids.get(id));
            }
        }
        for (const [id, cell] of [...this.#cells]) {
            if (!wanted.has(id)) {
                this.#cells.delete(id);
                cell.element.remove();
                this.#pools[cell.kind].push(cell);
            }
        }
        const focused = this.element.contains(document.activeElement) ? document.activeElement : null;
        let before = this.#space.firstChild;
        for (const [id, i] of [...wanted].sort((a, b) => a[1] - b[1])) {
            const cell = this.#cells.get(id) ?? this.#take(id, this.#entries[i]);
            cell.place(this.#entries, i, this.#layout, id === this.#active);
            if (cell.element === before) {
                before = before.nextSibling;
            } else {
                this.#space.insertBefore(cell.element, before);
            }
        }
        if (focused !== document.activeElement) {
            focused?.focus({preventScroll: true});  // what is moved loses it
        }
    }

    /// A cell for an entry, filled.
    #take(id, entry) {
        const kind = kindOf(entry);
        const cell = this.#pools[kind].pop() ?? new ListCell(kind, this.#options);
        this.#cells.set(id, cell);
        cell.show(id, entry);
        return cell;
    }

    #focusedId() {
        if (!this.#space.contains(document.activeElement)) {
            return null;
        }
        return [...this.#cells.values()]
            .find((cell) => cell.element.contains(document.activeElement))?.id ?? null;
    }

    #onFocus() {
        const id = this.#focusedId();
        if (id !== null && id !== this.#active && id.startsWith('item')) {
            this.#active = id;
            this.#render();
        }
    }

    #focus(index) {
        const [top, bottom] = this.#layout.extent(index);
        const list = this.element;
        if (top < list.scrollTop) {
            list.scrollTop = top;
        } else if (bottom > list.scrollTop + list.clientHeight) {
            list.scrollTop = bottom - list.clientHeight;
        }
        this.#active = this.#idOf(this.#entries[index]);
        this.#render();
        this.#cells.get(this.#active).focusable?.focus({preventScroll: true});
    }

    #onKey(event) {
        const index = this.#ids.get(this.#active);
        const cell = this.#cells.get(this.#active);
        if (index === undefined || event.target !== cell?.focusable) {
            return;
        }
        const target = this.#layout.neighbour(index, event.key, this.element.clientHeight);
        if (target !== undefined) {
            event.preventDefault();
            this.#focus(target);
        }
    }
}
