// SPDX-License-Identifier: Apache-2.0
// The audit trail: who has asked for what, and what came of it.

import {prefix, withQuery} from '../api.js';
import {h, newId, replace, set, setText} from '../dom.js';
import {utcMoment} from '../format.js';
import {hasText, t} from '../i18n.js';
import {icon} from '../icons.js';
import {announce, errorText} from '../messages.js';
import {utcOf} from './historyTimes.js';

const pageSize = 100;
const inputPause = 300;
const columns = ['time', 'user', 'operation', 'target', 'outcome', 'address'];
const outcomes = ['done', 'as-before', 'accepted', 'cancelled', 'pre-empted', 'failed', 'partly', 'refused', 'held', 'not-found', 'bad-request', 'not-connected',
    'timed-out', 'connection-lost', 'pending', 'unknown'];

const outcomeText = (outcome) => hasText(`outcome.${outcome}`) ? t(`outcome.${outcome}`) : outcome;

/// What an operation is done to: as the gateway names it, else what its request names.
function targetOf(entry) {
    if (entry.target) {
        return entry.target;
    }
    try {
        const {zones, paZones, path, text} = JSON.parse(entry.request);
        return [zones ?? paZones ?? path ?? text ?? ''].flat().join(', ');
    } catch {
        return '';  // a long request is cut
    }
}

function mount(root, app) {
    const history = new History(app);
    root.append(history.element);
    return {unmount: () => history.close(), shortcuts: [
        {key: '/', text: t('history.filter'), run: () => history.filters.user.focus()},
        {key: 'r', text: t('history.reload'), run: () => history.reload()},
    ]};
}

class History {
    constructor(app) {
        this.app = app;
        this.abort = null;
        this.timer = null;
        this.isMore = false;
        this.lastId = null;
        this.filters = {
            from: h('input', {type: 'datetime-local', max: '9999-12-31T23:59'}),
            until: h('input', {type: 'datetime-local', max: '9999-12-31T23:59'}),
            user: h('input', {type: 'search', maxlength: 64, autocomplete: 'off', spellcheck: 'false'}),
            operation: h('input', {type: 'search', maxlength: 64, autocomplete: 'off', spellcheck: 'false'}),
            outcome: h('select', {}, h('option', {value: ''}, t('history.anyOutcome')),
                outcomes.map((outcome) => h('option', {value: outcome}, outcomeText(outcome)))),
        };
        this.exports = ['csv', 'json'].map((format) => h('a', {class: 'button', download: `history.${format}`,
            'data-format': format}, icon('download'), format.toUpperCase()));
        this.body = h('tbody', {});
        this.status = h('p', {class: 'note', role: 'status'});
        this.more = h('button', {type: 'button', on: {click: () => this.load(false)}}, t('history.more'));
        this.element = h('div', {class: 'history'},
            h('form', {class: 'filters', 'aria-label': t('history.filter'), on: {
                submit: (event) => event.preventDefault(), input: () => this.reloadSoon()}},
            Object.entries(this.filters).map(([name, control]) => {
                control.id = newId();
                return h('div', {class: 'field'}, h('label', {for: control.id}, t(`history.${name}`)), control);
            }),
            h('div', {class: 'row'}, h('button', {type: 'button', on: {click: () => this.reload()}}, t('history.reload')),
                this.exports)),
            h('div', {class: 'table-frame', role: 'region', 'aria-label': t('history.title'), tabindex: '0'},
                h('table', {class: 'history-table'}, h('thead', {}, h('tr', {},
                    columns.map((name) => h('th', {scope: 'col'}, t(`history.${name}`))))), this.body)),
            this.status, this.more);
        this.observer = new IntersectionObserver((entries) => {
            if (entries.some((entry) => entry.isIntersecting) && this.isMore && !this.abort) {
                this.load(false);
            }
        }, {rootMargin: '400px'});
        this.observer.observe(this.more);
        this.endFollowing = app.store.subscribe(['status'], () => this.takeTimeZone());
        this.timeZone = app.store.status?.timeZone;
        this.reload();
    }

    /// Times are displayed again when the station's zone is known.
    takeTimeZone() {
        if (this.timeZone !== this.app.store.status?.timeZone) {
            this.timeZone = this.app.store.status?.timeZone;
            this.reload();
        }
    }

    close() {
        this.abort?.abort();
        clearTimeout(this.timer);
        this.observer.disconnect();
        this.endFollowing();
    }

    query() {
        const {from, until, user, operation, outcome} = this.filters;
        const zone = this.timeZone ?? 'UTC';
        return {from: utcOf(from.value, zone), until: utcOf(until.value, zone), user: user.value.trim(),
            operation: operation.value.trim(), outcome: outcome.value};
    }

    reloadSoon() {
        clearTimeout(this.timer);
        this.timer = setTimeout(() => this.reload(), inputPause);
    }

    reload() {
        this.abort?.abort();
        this.abort = null;
        this.lastId = null;
        const query = this.query();
        this.exports.forEach((link) =>
            set(link, 'href', prefix + withQuery('/audit/export', {format: link.dataset.format, ...query})));
        return this.load(true);
    }

    async load(isFirst) {
        if (this.abort) {
            return;
        }
        const abort = new AbortController();
        this.abort = abort;
        try {
            const {entries, more} = await this.app.api.get('/audit',
                {query: {...this.query(), before: this.lastId, limit: pageSize}, signal: abort.signal});
            this.show(entries, more, isFirst);
        } catch (error) {
            if (abort.signal.aborted) {
                return;
            }
            setText(this.status, errorText(error));
            this.isMore = false;
        }
        this.abort = null;
        set(this.more, 'hidden', !this.isMore);
        // While the end is still in sight there is no other intersection.
        this.observer.unobserve(this.more);
        this.observer.observe(this.more);
    }

    show(entries, more, isFirst) {
        if (isFirst) {
            replace(this.body);
        }
        this.body.append(...entries.map((entry) => this.row(entry)));
        this.lastId = entries.at(-1)?.id ?? this.lastId;
        this.isMore = more && entries.length > 0;
        const count = this.body.children.length;
        setText(this.status, count === 0 ? t('history.none') : t('history.count', {n: count}));
        if (!isFirst) {
            announce(this.status.textContent);
        }
    }

    row(entry) {
        const cell = (name, ...content) => h('td', {'data-label': t(`history.${name}`)}, content);
        const details = [entry.text, entry.request].filter(Boolean);
        return h('tr', {},
            cell('time', h('time', {}, utcMoment(entry.time, this.timeZone))),
            cell('user', h('bdi', {}, entry.user)),
            cell('operation', entry.operation),
            cell('target', h('bdi', {}, targetOf(entry))),
            cell('outcome', h('span', {class: 'badge', 'data-outcome': entry.outcome}, outcomeText(entry.outcome)),
                details.length > 0 && h('details', {}, h('summary', {}, t('history.details')),
                    details.map((text) => h('p', {dir: 'auto', class: 'history-detail'},
                        typeof text === 'string' ? text : JSON.stringify(text))))),
            cell('address', entry.address));
    }
}

export default {id: 'history', titleKey: 'history.title', icon: 'history', roles: ['operator', 'monitor'], mount};
