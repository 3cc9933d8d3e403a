// SPDX-License-Identifier: Apache-2.0
// A cell of a VirtualList. It is moved and filled again for other entries of its kind.

import {gap, isHeading} from './ListLayout.js';
import {h, set, setText} from './dom.js';

export function kindOf(entry) {
    return isHeading(entry) ? 'heading' : 'item';
}

export class ListCell {
    kind;
    element;
    id = null;
    #entry = null;
    #height;
    #content = null;  // of an item
    #text = null;     // of a heading

    /// `options` are those of the list.
    constructor(kind, {createCell, itemHeight, headingHeight}) {
        this.kind = kind;
        if (kind === 'heading') {
            this.#height = headingHeight;
            this.#text = h('h2', {dir: 'auto'});
        } else {
            this.#height = itemHeight;
            this.#content = createCell();
        }
        this.element = h('div', {class: `virtual-${kind}`, role: 'listitem'}, this.#text ?? this.#content.element);
    }

    /// What takes the focus; undefined when nothing does.
    get focusable() {
        return this.#content?.focusable;
    }

    /// Displays an entry.
    show(id, entry) {
        this.id = id;
        this.#entry = entry;
        this.fill();
    }

    fill() {
        if (this.#text) {
            setText(this.#text, this.#entry.text);
        } else {
            this.#content.update(this.#entry.key);
        }
    }

    /// Where the entry is now: the one with the index `i` of `entries`.
    place(entries, i, layout, isActive) {
        this.#entry = entries[i];
        if (this.#text) {
            this.fill();
        }
        const {style} = this.element;
        style.transform = `translate(${layout.columns[i] * (layout.cellWidth + gap)}px, ${layout.tops[i]}px)`;
        style.width = this.#text ? '100%' : `${layout.cellWidth}px`;
        style.height = `${this.#height}px`;
        set(this.element, 'aria-setsize', entries.length);
        set(this.element, 'aria-posinset', i + 1);
        if (this.focusable) {
            set(this.focusable, 'tabindex', isActive ? 0 : -1);
        }
    }
}
