// SPDX-License-Identifier: Apache-2.0
// The frame around a view: header with the state of the connection, navigation, banner, shortcuts.

import {closeDialogs} from './dialogs.js';
import {append, h, replace, set, setText} from './dom.js';
import {duration, wallMoment, wallTime} from './format.js';
import {t} from './i18n.js';
import {icon} from './icons.js';
import {announce} from './messages.js';
import {openSettings, openShortcuts, shortcutsAreOn} from './preferences.js';
import {knownZone} from './timeZones.js';

/// '#board/Platform%201' as ['board', 'Platform 1'].
function partsOf(hash) {
    return hash.replace(/^#/, '').split('/').map((part) => {
        try {
            return decodeURIComponent(part);
        } catch {
            return part;
        }
    });
}

const isTyping = (element) => element?.matches?.('input:not([type=checkbox]):not([type=radio]), '
    + 'textarea, select');

export class PageFrame {
    #app;
    #views;
    #view = null;
    #mounted = null;
    #main = h('main', {id: 'view', tabindex: '-1'});
    #links = new Map();
    #server = h('span', {class: 'server-name', dir: 'auto'});
    #clock = h('time', {class: 'station-clock'});
    #zone = h('span', {class: 'station-zone note'});
    #state = h('span', {class: 'link-state'});
    #stateText = h('span', {});
    #user;
    #banner = h('section', {class: 'banner', hidden: true, 'aria-label': t('frame.connection')});
    #bannerText = h('p', {});
    #lastState = '';
    #endings = [];

    constructor(body, app, views) {
        this.#app = app;
        this.#views = views;
        append(this.#state, [icon('health'), this.#stateText]);
        append(this.#banner, [icon('warning'), this.#bannerText]);
        append(body, [
            h('a', {class: 'skip-link', href: '#view', on: {click: (event) => {
                event.preventDefault();
                this.#main.focus();
            }}}, t('frame.skip')),
            this.#header(),
            this.#navigation(),
            h('div', {class: 'content'}, this.#banner, this.#main),
        ]);
        const timer = setInterval(() => this.#tick(), 1000);
        const onKey = (event) => this.#onKey(event);
        document.addEventListener('keydown', onKey);
        this.#endings = [
            app.store.subscribe(['status'], () => this.#tick()),
            () => clearInterval(timer),
            () => document.removeEventListener('keydown', onKey),
        ];
        this.#tick();
    }

    unmount() {
        this.#endings.forEach((end) => end());
        this.#mounted?.unmount();
    }

    /// When there is no other place for the focus.
    focusView() {
        this.#main.focus();
    }

    focusSettings() {
        this.#user.focus();
    }

    /// Opens the view that an address names, the first one when there is none.
    open(hash) {
        const [id, ...parts] = partsOf(hash);
        const view = this.#views.find((one) => one.id === id) ?? this.#views[0];
        if (view === this.#view && this.#mounted?.update) {
            this.#mounted.update(parts);
            return;
        }
        closeDialogs();
        this.#mounted?.unmount();
        const isFirst = this.#view === null;
        this.#view = view;
        replace(this.#main, h('h1', {class: 'visually-hidden'}, t(view.titleKey)));
        set(this.#main, 'class', `view-${view.id}`);
        set(this.#main, 'aria-label', t(view.titleKey));
        const mounted = view.mount(this.#main, this.#app, parts);
        this.#mounted = typeof mounted === 'function' ? {unmount: mounted} : mounted;
        this.#links.forEach((link, name) => set(link, 'aria-current', name === view.id ? 'page' : null));
        document.title = `${t(view.titleKey)} \u2013 ${this.#app.session.server ?? 'papanel'}`;
        if (!isFirst) {
            this.#main.focus({preventScroll: true});
            scrollTo(0, 0);
        }
    }

    #header() {
        const {session} = this.#app;
        this.#user = h('button', {type: 'button', class: 'quiet user-button', 'aria-haspopup': 'dialog',
                'aria-label': t('frame.settings', {user: session.user, role: t(`role.${session.role}`)}),
                on: {click: () => openSettings(this.#app)}},
                icon('user'), h('span', {class: 'user-name', dir: 'auto'}, session.user),
                session.role === 'monitor' && h('span', {class: 'badge'}, t('role.monitor')));
        return h('header', {class: 'top'}, this.#server, h('span', {class: 'clock-part'}, this.#clock, this.#zone), this.#state,
            this.#user);
    }

    #navigation() {
        const items = this.#views.map((view) => {
            const link = h('a', {href: `#${view.id}`}, icon(view.icon),
                h('span', {}, t(view.titleKey)));
            this.#links.set(view.id, link);
            return h('li', {}, link);
        });
        return h('nav', {class: 'navigation', 'aria-label': t('frame.navigation')}, h('ul', {}, items));
    }

    /// What changes with time: the clock, the state of the connection and for how long.
    #tick() {
        const {store} = this.#app;
        const link = store.link();
        const now = store.clock.wallNow();
        setText(this.#server, store.status?.server?.name ?? this.#app.session.server ?? '');
        setText(this.#clock, now === null ? '' : wallTime(now));
        set(this.#clock, 'title', store.status?.timeZone ? t('frame.clock', {
            zone: store.status.timeZone, speed: store.status.speed ?? 1}) : null);
        const zone = knownZone(store.status?.timeZone);
        setText(this.#zone, store.status && zone !== Intl.DateTimeFormat().resolvedOptions().timeZone ? zone : '');
        setText(this.#stateText, t(`link.${link.state}`));
        set(this.#state, 'data-state', link.state);
        const isAway = ['gateway-away', 'server-away'].includes(link.state);
        set(document.body, 'class', isAway || link.state === 'syncing' ? 'is-away' : null);
        set(this.#banner, 'hidden', !isAway && link.state !== 'syncing');
        if (isAway) {
            setText(this.#bannerText, t(`banner.${link.state}`, {
                since: wallMoment(store.clock.wallBefore(link.awayForMs), now),
                duration: duration(link.awayForMs), reason: link.reason ?? ''}));
        } else if (link.state === 'syncing') {
            setText(this.#bannerText, t('banner.syncing'));
        }
        if (link.state !== this.#lastState) {
            if (isAway) {
                announce(this.#bannerText.textContent, true);
            } else if (this.#lastState.endsWith('-away')) {
                announce(t('banner.back'));
            }
            this.#lastState = link.state;
        }
    }

    #onKey(event) {
        if (event.ctrlKey || event.altKey || event.metaKey || event.defaultPrevented
            || isTyping(event.target) || document.querySelector('dialog[open]') || !shortcutsAreOn()) {
            return;
        }
        const shortcut = this.#shortcuts().find((one) => one.key === event.key);
        if (shortcut) {
            event.preventDefault();
            shortcut.run();
        }
    }

    /// {key, text, run} of the frame and of the view.
    #shortcuts() {
        const ofViews = this.#views.map((view, i) => ({key: String(i + 1), text: t(view.titleKey),
            run: () => this.#app.go(view.id)}));
        const all = [...ofViews, ...this.#mounted?.shortcuts ?? []];
        return [...all, {key: '?', text: t('shortcuts.title'), run: () => openShortcuts(all)}];
    }
}
