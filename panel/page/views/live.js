// SPDX-License-Identifier: Apache-2.0
// Microphones and other sources: who holds them, and everything that can be done with one.

import {VirtualList} from '../VirtualList.js';
import {h, newId, set, setText} from '../dom.js';
import {compareNames} from '../format.js';
import {t} from '../i18n.js';
import {icon} from '../icons.js';
import {LockHolders} from '../widgets/LockHolders.js';
import {SourceDrawer} from '../widgets/SourceDrawer.js';
import {keepFocus} from '../widgets/pressing.js';
import {matches, wordsOf} from '../widgets/search.js';
import {sourceTile} from '../widgets/sourceTile.js';

class Live {
    shortcuts;
    #app;
    #store;
    #locks;
    #search;
    #empty = h('p', {class: 'empty', hidden: true});
    #list;
    #drawer = null;
    #endings;

    constructor(root, app, parts) {
        this.#app = app;
        this.#store = app.store;
        this.#locks = new LockHolders(app, () => {
            this.#list.update(null);
            this.#drawer?.fill();
        });
        this.#list = new VirtualList({label: t('live.list'), itemHeight: 124, minItemWidth: 300,
            isGroup: true, createCell: () => sourceTile(this.#store, this.#locks, (id) => app.go('live', String(id)))});
        this.#search = h('input', {type: 'search', id: newId(), autocomplete: 'off', maxlength: 200,
            placeholder: t('live.search'), on: {input: () => this.#fill()}});
        root.append(h('div', {class: 'row'},
            h('div', {class: 'search'}, icon('search'),
                h('label', {for: this.#search.id, class: 'visually-hidden'}, t('live.search')),
                this.#search)), this.#empty, this.#list.element);
        this.shortcuts = [
            {key: '/', text: t('live.search'), run: () => this.#search.focus()},
            {key: 'l', text: t('live.toList'), run: () => this.#list.focusActive()},
        ];
        this.#endings = [
            () => this.#drawer?.close(),
            this.#store.subscribe(['sources', 'status'], (changes) => this.#take(changes)),
            () => this.#locks.unmount(),
            () => this.#list.unmount(),
        ];
        this.#fill();
        this.update(parts);
    }

    unmount() {
        this.#endings.forEach((end) => end());
    }

    /// The address names a source by its number, or none.
    update([source]) {
        this.#drawer?.close();
        const id = Number(source);
        this.#drawer = id > 0 ? new SourceDrawer(this.#app, this.#locks, id, () => {
            this.#list.focus(id);
            keepFocus(this.#search);
        }) : null;
    }

    #take(changes) {
        if (changes.has('sources') || changes.has('status')) {
            this.#fill();
        }
        this.#list.update(changes.get('sources') === undefined ? [] : changes.get('sources'));
    }

    #fill() {
        const words = wordsOf(this.#search);
        const sources = this.#store.all('sources')
            .filter((source) => matches(words, source.label, source.location, String(source.id)))
            .sort((a, b) => compareNames(a.location, b.location) || compareNames(a.label, b.label)
                || a.id - b.id);
        this.#list.setEntries(sources.map((source) => ({key: source.id})));
        const isLoading = this.#store.link().state === 'loading';
        setText(this.#empty, t(isLoading ? 'list.loading' : words.length > 0 ? 'list.noMatch' : 'list.empty'));
        set(this.#empty, 'hidden', sources.length > 0);
    }
}

export default {
    id: 'live',
    titleKey: 'live.title',
    icon: 'live',
    roles: ['operator', 'monitor'],
    mount: (root, app, parts) => new Live(root, app, parts),
};
