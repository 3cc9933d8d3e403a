// SPDX-License-Identifier: Apache-2.0
// The audit trail: who has asked for what, and what came of it.

import {prefix, withQuery} from '../api.js';
import {h, newId, replace, set, setText} from '../dom.js';
import {utcMoment} from '../format.js';
import {t} from '../i18n.js';
import {icon} from '../icons.js';
import {errorText} from '../messages.js';
import {knownZone, utcText} from '../timeZones.js';
import {operationChoices, operationText, outcomeChoices, outcomeText, targetOf} from './historyTexts.js';

const pageSize = 100;
const inputPause = 300;
const columns = ['time', 'user', 'operation', 'target', 'outcome', 'address'];

const choice = (all, choices) => h('select', {}, h('option', {value: ''}, all),
    choices.map(([value, text]) => h('option', {value}, text)));

function mount(root, app) {
    const history = new History(app);
    root.append(history.element);
    return {unmount: () => history.close(), shortcuts: [
        {key: '/', text: t('history.filter'), run: () => history.focusFilters()},
        {key: 'r', text: t('history.reload'), run: () => history.reload()},
    ]};
}

class History {
    constructor(app) {
        this.app = app;
        this.abort = null;
        this.timer = null;
        this.isMore = false;
        this.hasFailed = false;
        this.lastId = null;
        this.filters = {
            from: h('input', {type: 'datetime-local', max: '9999-12-31T23:59'}),
            until: h('input', {type: 'datetime-local', max: '9999-12-31T23:59'}),
            user: h('input', {type: 'search', maxlength: 64, autocomplete: 'off', spellcheck: 'false',
                placeholder: t('history.nameBegins'), list: 'history-users'}),
            operation: choice(t('history.any'), operationChoices()),
            outcome: choice(t('history.any'), outcomeChoices()),
        };
        this.exports = ['csv', 'json'].map((format) => h('a', {class: 'button', download: `history.${format}`,
            'data-format': format}, icon('download'), format.toUpperCase()));
        this.body = h('tbody', {});
        this.status = h('p', {class: 'note', role: 'status'});
        this.more = h('button', {type: 'button', on: {click: () => this.loadMore()}}, t('history.more'));
        this.users = h('datalist', {id: 'history-users'});
        this.zone = h('p', {class: 'note'});
        this.element = h('div', {class: 'history'},
            this.filterFrame(), this.users, this.zone,
            h('div', {class: 'table-frame', role: 'region', 'aria-label': t('history.title'), tabindex: '0'},
                h('table', {class: 'history-table'}, h('thead', {}, h('tr', {},
                    columns.map((name) => h('th', {scope: 'col', 'data-column': name}, t(`history.${name}`))))), this.body)),
            this.status, this.more);
        this.observer = new IntersectionObserver((entries) => {
            if (entries.some((entry) => entry.isIntersecting) && this.isMore && !this.abort) {
                this.load(false);
            }
        }, {rootMargin: '400px'});
        this.observer.observe(this.more);
        this.endFollowing = app.store.subscribe(['status'], () => this.takeStatus());
        this.takeStatus();
    }

    /// On narrow pages the filters are folded.
    filterFrame() {
        const fields = Object.entries(this.filters).map(([name, control]) => {
            control.id = newId();
            return h('div', {class: 'field', 'data-filter': name},
                h('label', {for: control.id}, t(`history.${name}`)), control);
        });
        this.frame = h('details', {class: 'filter-frame', open: matchMedia('(min-width: 720px)').matches},
            h('summary', {}, t('history.filter')),
            h('form', {class: 'filters', 'aria-label': t('history.filter'), on: {
                submit: (event) => event.preventDefault(), input: () => this.reloadSoon()}}, fields,
            h('div', {class: 'row'}, h('button', {type: 'button', on: {click: () => this.reload()}}, t('history.reload')),
                this.exports)));
        return this.frame;
    }

    focusFilters() {
        set(this.frame, 'open', true);
        this.filters.user.focus();
    }

    /// Loads when the station's zone is known, and again after a failure.
    takeStatus() {
        const timeZone = knownZone(this.app.store.status?.timeZone);
        const isAgain = this.hasFailed && this.app.store.link().state !== 'gateway-away';
        if (timeZone !== this.timeZone || isAgain) {
            this.timeZone = timeZone;
            setText(this.zone, t('frame.times', {zone: timeZone}));
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
        return {from: utcText(from.value, this.timeZone), until: utcText(until.value, this.timeZone), user: user.value.trim(),
            operation: operation.value, outcome: outcome.value};
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
        if (query.from && query.until && query.from > query.until) {
            replace(this.body);
            this.isMore = false;
            set(this.more, 'hidden', true);
            setText(this.status, t('history.order'));
            return null;
        }
        this.exports.forEach((link) =>
            set(link, 'href', prefix + withQuery('/audit/export', {format: link.dataset.format, ...query})));
        return this.load(true);
    }

    /// The button that has the focus may disappear.
    async loadMore() {
        const count = this.body.children.length;
        await this.load(false);
        this.body.children[count]?.querySelector('summary')?.focus();
    }

    async load(isFirst) {
        if (this.abort) {
            return;
        }
        const abort = new AbortController();
        this.abort = abort;
        this.hasFailed = false;
        try {
            const {entries, more} = await this.app.api.get('/audit',
                {query: {...this.query(), before: this.lastId, limit: pageSize}, signal: abort.signal});
            this.show(entries, more, isFirst);
        } catch (error) {
            if (abort.signal.aborted) {
                return;
            }
            if (isFirst) {
                replace(this.body);
            }
            setText(this.status, errorText(error));
            this.hasFailed = true;
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
        entries.forEach(({user}) => this.offerUser(user));
        this.lastId = entries.at(-1)?.id ?? this.lastId;
        this.isMore = more && entries.length > 0;
        const count = this.body.children.length;
        setText(this.status, count === 0 ? t('history.none')
            : t(this.isMore ? 'history.countMore' : 'history.count', {n: count}));
    }

    offerUser(user) {
        if (![...this.users.children].some(({value}) => value === user)) {
            this.users.append(h('option', {value: user}));
        }
    }

    row(entry) {
        const cell = (name, ...content) => h('td', {'data-label': t(`history.${name}`)}, content);
        const details = [entry.text, entry.request].filter(Boolean);
        return h('tr', {},
            cell('time', h('time', {}, utcMoment(entry.time, this.timeZone))),
            cell('user', h('bdi', {}, entry.user)),
            cell('operation', operationText(entry.operation)),
            cell('target', h('bdi', {}, targetOf(entry))),
            cell('outcome', h('span', {class: 'badge', 'data-outcome': entry.outcome}, outcomeText(entry.outcome)),
                details.length > 0 && h('details', {}, h('summary', {}, t('history.details')),
                    details.map((text) => h('p', {dir: 'auto', class: 'history-detail'},
                        typeof text === 'string' ? text : JSON.stringify(text))))),
            cell('address', entry.address));
    }
}

export default {id: 'history', titleKey: 'history.title', icon: 'history', roles: ['operator', 'monitor'], mount};
