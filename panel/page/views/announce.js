// SPDX-License-Identifier: Apache-2.0
// Composes and plays announcements, and lists what plays.

import {h, replace, set, setText} from '../dom.js';
import {t} from '../i18n.js';
import {icon} from '../icons.js';
import {attempt, errorText, toast} from '../messages.js';
import {zonePicker} from '../widgets/zonePicker.js';
import {isWithin} from '../widgets/zoneTile.js';
import {activeList} from './announceActive.js';
import {DryRun} from './announceCheck.js';
import {contentEditor, fetchLists} from './announceContent.js';
import {keepDraft, keptDraft} from './announceDraft.js';
import {emptyDraft, requestOf, titleOf, whatIsMissing} from './announceModel.js';
import {hasWrongNumber} from './announceParts.js';
import {recentTemplates, recentZones} from './announceRecent.js';
import {SentAnnouncements} from './announceSent.js';

const noLists = {dictionary: null, chimes: null};
const doublePress = 2000;

// Outlive the view, but not the user.
let draft = emptyDraft();
let sent = null;
let user = null;
let composer = null;  // of the view that is open

function prepare(app) {
    if (sent === null || user !== app.session.user) {
        sent?.close();
        sent = new SentAnnouncements(app.api, app.store);
        user = app.session.user;
        draft = keptDraft(user);
    }
}

function panel(title, name, ...content) {
    return h('section', {class: `panel announce-${name}`, 'aria-label': title}, h('h2', {tabindex: -1}, title), content);
}

/// `zone` of the address, as from the board, is chosen in place of others.
function mount(root, app, [zone]) {
    prepare(app);
    if (zone) {
        draft.zones = [zone];
        history.replaceState(null, '', '#announce');
    }
    const active = activeList({app, sent});
    const activePanel = panel(t('active.title'), 'active', active.element);
    if (app.session.role !== 'operator') {
        root.append(h('p', {class: 'note'}, t('announce.monitor')), activePanel);
        return active.destroy;
    }
    composer = new Composer(app);
    root.append(h('div', {class: 'announce'},
        panel(t('announce.zones'), 'zones', composer.recent, composer.picker.element),
        h('div', {class: 'announce-compose'},
            panel(t('announce.content'), 'content', composer.content),
            panel(t('announce.play'), 'play', composer.check.verdict, composer.check.list, composer.bar)),
        activePanel));
    return {unmount: () => {
        composer.close();
        composer = null;
        active.destroy();
    }, shortcuts: [{key: '/', text: t('announce.searchZones'), run: () => composer.picker.search.focus()}]};
}

/// The view may have been left in the meantime.
function restore(before) {
    draft = before;
    keepDraft(user, draft);
    composer?.setDraft(before);
}

class Composer {
    constructor(app) {
        this.app = app;
        this.lists = noLists;
        this.abort = new AbortController();
        this.picker = zonePicker({store: app.store, chosen: draft.zones, onChange: (zones) => {
            draft.zones = zones;
            this.change();
        }});
        this.recent = h('div', {class: 'recent'});
        this.content = h('div', {on: {input: () => this.change()}});
        this.check = new DryRun(app.api, () => requestOf(draft));
        this.button = h('button', {type: 'button', class: 'primary', on: {click: () => this.play()}},
            icon('play'), t('announce.playNow'));
        this.reason = h('span', {class: 'note', role: 'status'});
        this.bar = h('div', {class: 'play-bar'}, this.button,
            h('button', {type: 'button', class: 'quiet', on: {click: () => this.clear()}}, t('announce.clear')),
            this.reason);
        this.endFollowing = app.store.subscribe(['zones', 'status', 'voices'], (changes) => this.take(changes));
        this.showRecent();
        this.fetch();
        this.change();
    }

    close() {
        this.abort.abort();
        this.check.close();
        this.endFollowing();
        this.picker.destroy();
    }

    /// The editors need the lists of the server. They are not made again for them while they are in use.
    async fetch() {
        if (this.app.store.link().state !== 'synced') {
            replace(this.content, h('p', {class: 'note'}, t('access.away')));
            return;
        }
        this.areListsThere = true;
        try {
            this.lists = await fetchLists(this.app.api, this.abort.signal);
            this.showContent();
        } catch (error) {
            if (error.name !== 'AbortError') {
                this.areListsThere = false;
                replace(this.content, h('p', {class: 'note', role: 'status'}, errorText(error)));
            }
        }
    }

    showContent() {
        replace(this.content, contentEditor({app: this.app, lists: this.lists, draft, onChange: () => this.change()}));
        this.voiceCount = this.app.store.count('voices');
    }

    showRecent() {
        const lists = recentZones.all();
        replace(this.recent, lists.length > 0 && [h('h3', {}, t('announce.recent')),
            h('ul', {class: 'chips'}, lists.map((zones) => h('li', {}, h('button', {type: 'button', dir: 'auto',
                on: {click: () => {
                    this.picker.setValue(zones);
                    draft.zones = zones;
                    this.change();
                }}}, zones.length > 2 ? t('announce.andMore', {zone: zones[0], n: zones.length - 1})
                : zones.join(', ')))))]);
    }

    /// What is cleared can be had back for some seconds.
    clear() {
        const before = draft;
        const isEmpty = JSON.stringify(before) === JSON.stringify({...emptyDraft(), voice: before.voice});
        this.setDraft(emptyDraft());
        if (!isEmpty) {
            toast(t('announce.cleared'), 'note', {label: t('announce.undo'), run: () => restore(before)});
        }
    }

    setDraft(next) {
        draft = next;
        this.picker.setValue(draft.zones);
        if (this.lists !== noLists) {
            this.showContent();
        }
        this.change();
    }

    take(changes) {
        if (this.lists !== noLists && this.app.store.count('voices') !== this.voiceCount
            && !this.content.contains(document.activeElement)) {
            this.showContent();
        }
        if (changes.has('status') && !this.areListsThere) {
            this.fetch();
        }
        if (this.concerns(changes.get('zones')) || changes.has('status')) {
            this.checkSoon();
        }
        this.showReadiness();
    }

    /// Whether one of the zones that have changed is chosen or part of a chosen one.
    concerns(zones) {
        return zones === null || [...zones ?? []].some((zone) => draft.zones.some((one) => isWithin(zone, one)));
    }

    /// The draft has changed.
    change() {
        keepDraft(user, draft);
        this.showReadiness();
        this.checkSoon();
    }

    /// Why the composition cannot be played now; null when it can.
    whyNot() {
        const missing = whatIsMissing(draft) ?? (hasWrongNumber(this.content) ? 'announce.missing.numbers' : null);
        return this.app.whyNot() ?? (missing && t(missing));
    }

    checkSoon() {
        if (this.whyNot() === null) {
            this.check.ask();
        } else {
            this.check.clear();
        }
    }

    showReadiness() {
        const why = this.whyNot();
        set(this.button, 'disabled', why !== null);
        setText(this.reason, why ?? (this.isSending ? t('state.sending') : ''));
    }

    /// What may play although the outcome is unknown is followed, too. What had no answer is sent under its key
    /// again, so that it does not play twice.
    async send(body, follow) {
        const again = this.unanswered?.press === JSON.stringify(body) ? this.unanswered.retry : null;
        try {
            return await (again ? again() : this.app.api.operate('POST', '/announcements', body));
        } catch (error) {
            if (error.outcomeUnknown && error.details?.requestId) {
                follow({requestId: error.details.requestId, state: 'unknown'});
            }
            if (error.code === 'unreachable') {
                this.unanswered = {press: JSON.stringify(body), retry: error.retry};
            }
            throw error;
        }
    }

    /// A double click is one press.
    async play() {
        const body = requestOf(draft);
        const title = titleOf(draft, this.lists.dictionary);
        const press = JSON.stringify(body);
        if (this.isSending || (press === this.lastPress && performance.now() - this.sentAt < doublePress)) {
            return;
        }
        this.isSending = true;
        this.showReadiness();
        const follow = (answer) => {
            sent.add(answer, body.zones, title);
            this.unanswered = null;
            recentZones.note(body.zones);
            if (body.display) {
                recentTemplates.note(body.display.template);
            }
            this.showRecent();
            return t('announce.sent');
        };
        const answer = await attempt(() => this.send(body, follow), follow);
        this.isSending = false;
        this.lastPress = answer && press;
        this.sentAt = performance.now();
        this.showReadiness();
    }
}

export default {id: 'announce', titleKey: 'announce.title', icon: 'announce', roles: ['operator', 'monitor'], mount};
