// SPDX-License-Identifier: Apache-2.0
// Composes and plays announcements, and lists what plays.

import {h, replace, set, setText} from '../dom.js';
import {hasText, t} from '../i18n.js';
import {icon} from '../icons.js';
import {attempt, errorText} from '../messages.js';
import {zonePicker} from '../widgets/zonePicker.js';
import {isWithin} from '../widgets/zoneTile.js';
import {activeList} from './announceActive.js';
import {contentEditor, fetchLists} from './announceContent.js';
import {emptyDraft, requestOf, titleOf, whatIsMissing} from './announceModel.js';
import {recentTemplates, recentZones} from './announceRecent.js';
import {SentAnnouncements} from './announceSent.js';

const checkPause = 400;
const noLists = {dictionary: null, chimes: null};
const mostProblems = 50;
const doublePress = 2000;

// Outlive the view, but not the user.
let draft = emptyDraft();
let sent = null;
let user = null;

function prepare(app) {
    if (sent === null || user !== app.session.user) {
        sent?.close();
        sent = new SentAnnouncements(app.api, app.store);
        draft = emptyDraft();
        user = app.session.user;
    }
}

function panel(title, name, ...content) {
    return h('section', {class: `panel announce-${name}`, 'aria-label': title}, h('h2', {}, title), content);
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
    const composer = new Composer(app);
    root.append(h('div', {class: 'announce'},
        panel(t('announce.zones'), 'zones', composer.recent, composer.picker.element),
        h('div', {class: 'announce-compose'},
            panel(t('announce.content'), 'content', composer.content),
            panel(t('announce.play'), 'play', composer.problems, composer.bar)),
        activePanel));
    return {unmount: () => {
        composer.close();
        active.destroy();
    }, shortcuts: [{key: '/', text: t('announce.searchZones'), run: () => composer.picker.search.focus()}]};
}

/// In the language of the user where that has a text for it.
function problemText(problem) {
    const key = `announce.problem.${problem.code}`;
    return hasText(key) ? t(key, problem) : problem.text;
}

class Composer {
    constructor(app) {
        this.app = app;
        this.lists = noLists;
        this.abort = new AbortController();
        this.checking = null;
        this.timer = null;
        this.picker = zonePicker({store: app.store, chosen: draft.zones, onChange: (zones) => {
            draft.zones = zones;
            this.change();
        }});
        this.recent = h('div', {class: 'recent'});
        this.content = h('div', {});
        this.problems = h('div', {class: 'problems', role: 'status'});
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
        this.checking?.abort();
        clearTimeout(this.timer);
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

    clear() {
        draft = emptyDraft();
        this.picker.setValue([]);
        this.showContent();
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
        if (this.concerns(changes.get('zones'))) {
            this.check();
        }
        this.showReadiness();
    }

    /// Whether one of the zones that have changed is chosen or part of a chosen one.
    concerns(zones) {
        return zones === null || [...zones ?? []].some((zone) => draft.zones.some((one) => isWithin(zone, one)));
    }

    /// The draft has changed.
    change() {
        this.showReadiness();
        this.check();
    }

    showReadiness() {
        const missing = whatIsMissing(draft);
        const why = this.app.whyNot() ?? (missing && t(missing));
        set(this.button, 'disabled', why !== null);
        setText(this.reason, why ?? (this.isSending ? t('state.sending') : ''));
    }

    /// Asks for problems a moment after a change, and again after the answer when there is another one.
    check() {
        if (whatIsMissing(draft) || this.app.whyNot()) {
            this.checking?.abort();
            clearTimeout(this.timer);
            this.timer = null;
            this.showProblems(null);
            return;
        }
        this.isCheckDue = true;
        this.timer ??= setTimeout(() => this.checkNow(), checkPause);
    }

    async checkNow() {
        const checking = new AbortController();
        this.checking = checking;
        this.isCheckDue = false;
        let problems = null;
        try {
            ({problems} = await this.app.api.ask('/announcements/check', requestOf(draft), {signal: checking.signal}));
        } catch (error) {
            problems = [{code: '', text: errorText(error), prevents: true}];
        }
        if (!checking.signal.aborted) {
            this.timer = null;
            this.showProblems(problems);
            if (this.isCheckDue) {
                this.check();
            }
        }
    }

    /// Null when nothing has been checked. What is displayed already is not read out again.
    showProblems(problems) {
        const displayed = JSON.stringify(problems);
        if (displayed === this.displayed) {
            return;
        }
        this.displayed = displayed;
        const more = (problems?.length ?? 0) - mostProblems;
        replace(this.problems, problems?.length === 0
            && h('p', {class: 'no-problem'}, icon('check'), t('announce.noProblem')),
        problems?.length > 0 && h('ul', {tabindex: 0, 'aria-label': t('announce.problems')},
            problems.slice(0, mostProblems).map((problem) => h('li', {dir: 'auto',
                class: problem.prevents ? 'problem prevents' : 'problem'}, icon('warning'), problemText(problem))),
            more > 0 && h('li', {class: 'problem'}, t('announce.moreProblems', {n: more}))));
    }

    /// What may play although the outcome is unknown is followed, too.
    async send(body, follow) {
        try {
            return await this.app.api.operate('POST', '/announcements', body);
        } catch (error) {
            if (error.outcomeUnknown && error.details?.requestId) {
                follow({requestId: error.details.requestId, state: 'unknown'});
            }
            throw error;
        }
    }

    /// A double click is one press.
    async play() {
        const body = requestOf(draft);
        const title = titleOf(draft);
        const press = JSON.stringify(body);
        if (this.isSending || (press === this.lastPress && performance.now() - this.sentAt < doublePress)) {
            return;
        }
        this.isSending = true;
        this.showReadiness();
        const follow = (answer) => {
            sent.add(answer, body.zones, title);
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
