// SPDX-License-Identifier: Apache-2.0
// The state of the connection, and what is faulty since when.

import {VirtualList} from '../VirtualList.js';
import {compareUrgency} from '../Health.js';
import {h, replace, set, setText} from '../dom.js';
import {compareNames, duration, wallDate, wallMoment, wallTime} from '../format.js';
import {t} from '../i18n.js';
import {knownZone} from '../timeZones.js';
import {faultTile} from '../widgets/faultTile.js';

/// The gateway's name for the simulated server in its own process.
const embeddedServer = 'embedded server';

class HealthView {
    shortcuts;
    #app;
    #store;
    #faults = new Map();  // by "kind/key"
    #link = h('dl', {class: 'facts'});
    #summary = h('p', {class: 'health-summary', role: 'status'});
    #list;
    #endings;

    constructor(root, app) {
        this.#app = app;
        this.#store = app.store;
        this.#list = new VirtualList({label: t('health.list'), itemHeight: 108,
            isGroup: true, createCell: () => faultTile(app, (id) => this.#faults.get(id))});
        root.append(h('div', {class: 'card'}, this.#link),
            this.#summary, this.#list.element);
        this.shortcuts = [{key: 'l', text: t('health.toList'), run: () => this.#list.focusActive()}];
        const timer = setInterval(() => {
            this.#fillLink();
            this.#list.update(null);
        }, 1000);
        this.#endings = [
            this.#store.subscribe(['zones', 'sinks', 'sources', 'status'], () => this.#fill()),
            () => clearInterval(timer),
            () => this.#list.unmount(),
        ];
        this.#fill();
    }

    unmount() {
        this.#endings.forEach((end) => end());
    }

    #fill() {
        this.#fillLink();
        const since = ({record}) => record.faultySince ?? '';
        const faults = this.#store.health.faults().sort((a, b) => compareUrgency(a.level, b.level)
            || compareNames(since(b), since(a))
            || compareNames(a.record.label ?? a.key, b.record.label ?? b.key));
        this.#faults = new Map(faults.map((fault) => [`${fault.kind}/${fault.key}`, fault]));
        const entries = [];
        let level = null;
        for (const fault of faults) {
            if (fault.level !== level) {
                level = fault.level;
                entries.push({heading: level, text: t(`health.${level}`)});
            }
            entries.push({key: `${fault.kind}/${fault.key}`});
        }
        this.#list.setEntries(entries);
        this.#list.update(null);
        const {state} = this.#store.link();
        const textOfNone = {loading: 'list.loading', synced: 'health.none'}[state] ?? 'health.unknowable';
        setText(this.#summary, faults.length > 0 ? t('health.summary', {n: faults.length}) : t(textOfNone));
        set(this.#summary, 'data-level', faults.length > 0 ? 'bad' : state === 'synced' ? 'good' : null);
    }

    #fillLink() {
        const {status, clock} = this.#store;
        const link = this.#store.link();
        const rows = [[t('health.connection'), t(`link.${link.state}`)]];
        if (link.awayForMs > 0) {
            rows.push([t('health.since'), `${wallMoment(clock.wallBefore(link.awayForMs), clock.wallNow())}`
                + ` (${duration(link.awayForMs)})`]);
        }
        if (link.reason) {
            rows.push([t('health.reason'), link.reason]);
        }
        const {server} = this.#app.session;
        rows.push([t('health.server'), [status?.server?.name, server === embeddedServer ? t('health.embedded') : server]
            .filter(Boolean).join(', ')]);
        const now = clock.wallNow();
        if (now !== null) {
            rows.push([t('health.time'), t('health.timeText', {time: `${wallDate(now)} ${wallTime(now)}`,
                zone: knownZone(status.timeZone)})]);
        }
        if (status?.counts) {
            rows.push([t('health.counts'), t('health.countsText', {
                zones: this.#store.count('zones'), sinks: this.#store.count('sinks'),
                sources: this.#store.count('sources')})]);
        }
        const children = rows.flatMap(([name, text]) => [name, text]);
        if (this.#link.children.length !== children.length) {
            replace(this.#link, rows.map(() => [h('dt', {}), h('dd', {dir: 'auto'})]));
        }
        children.forEach((text, i) => setText(this.#link.children[i], text));
    }
}

export default {
    id: 'health',
    titleKey: 'health.title',
    icon: 'health',
    roles: ['operator', 'monitor'],
    mount: (root, app) => new HealthView(root, app),
};
