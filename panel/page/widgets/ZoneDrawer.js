// SPDX-License-Identifier: Apache-2.0
// A zone with what plays in it and its sinks.

import {VirtualList} from '../VirtualList.js';
import {path} from '../api.js';
import {openDialog} from '../dialogs.js';
import {h, set, setText} from '../dom.js';
import {compareNames, utcMoment} from '../format.js';
import {t} from '../i18n.js';
import {icon} from '../icons.js';
import {attempt} from '../messages.js';
import {stateText} from '../views/announceActive.js';
import {shortened} from '../views/announceModel.js';
import {partLine, priorityLine} from './contentType.js';
import {keepFocus, once} from './pressing.js';
import {healthBadge} from './healthBadge.js';
import {sinkCard} from './sinkCard.js';
import {activityText, announcementsOf, zoneHealthText} from './zoneTile.js';

export class ZoneDrawer {
    #app;
    #store;
    #id;
    #activity = h('dd', {dir: 'auto'});
    #health = healthBadge();
    #whyNot = h('p', {class: 'why-not', hidden: true});
    #content;
    #announcements = h('ul', {class: 'stack', 'aria-label': t('zone.announcements')});
    #cards = new Map();  // by the number of the announcement's record
    #announceLink;
    #persistent = h('input', {type: 'checkbox'});
    #sinksTitle = h('h3', {});
    #list;
    #dialog;

    constructor(app, id, onClose) {
        this.#app = app;
        this.#store = app.store;
        this.#id = id;
        this.#list = new VirtualList({label: t('zone.sinks'), itemHeight: 164,
            createCell: () => sinkCard(app, () => this.#persistent.checked)});
        this.#announceLink = h('a', {class: 'button', href: `#announce/${encodeURIComponent(id)}`},
            icon('announce'), t('zone.announce'));
        const address = location.hash;
        const unsubscribe = this.#store.subscribe(['zones', 'sinks', 'announcements', 'status'],
            (changes) => this.#take(changes));
        this.#content = h('div', {class: 'drawer-content'},
            h('dl', {class: 'facts'},
                h('dt', {}, t('zone.activity')), this.#activity,
                h('dt', {}, t('zone.health')), h('dd', {}, this.#health.element)),
            this.#announcements,
            this.#announceLink,
            h('div', {class: 'row sinks-head'}, this.#sinksTitle,
                h('label', {class: 'check'}, this.#persistent, h('span', {}, t('sink.persistent')))),
            this.#list.element);
        this.#dialog = openDialog({title: id, kind: 'drawer', content: [this.#whyNot, this.#content], onClose: () => {
            unsubscribe();
            this.#list.unmount();
            if (location.hash === address) {
                history.replaceState(null, '', '#board');
            }
            onClose();
        }});
        this.#fill();
        this.#fillSinks();
    }

    close() {
        this.#dialog.close();
    }

    #take(changes) {
        this.#fill();
        if (changes.has('zones')) {
            this.#fillSinks();
        }
        const isForAll = changes.has('status');
        this.#list.update(isForAll ? null : changes.get('sinks') === undefined ? []
            : changes.get('sinks'));
    }

    #fill() {
        const zone = this.#store.get('zones', this.#id);
        const isUnreported = !zone && this.#store.link().state === 'synced';
        const reason = isUnreported ? t('zone.unreported') : this.#app.whyNot();
        set(this.#content, 'hidden', !zone);
        setText(this.#whyNot, reason ?? '');
        set(this.#whyNot, 'hidden', reason === null);
        set(this.#persistent, 'disabled', reason !== null);
        set(this.#announceLink, 'hidden', reason !== null);
        if (zone) {
            const health = this.#store.health.zone(zone);
            setText(this.#activity, activityText(this.#store, zone));
            this.#health.update(health.level, zoneHealthText(health));
        }
        this.#fillAnnouncements(zone ? announcementsOf(this.#store, zone) : [], reason);
    }

    /// Cards are kept while their announcements are there, so that the focus stays on a button.
    #fillAnnouncements(announcements, reason) {
        const before = this.#cards;
        const hadFocus = this.#announcements.contains(document.activeElement);
        this.#cards = new Map(announcements.map((one) => [one.id, before.get(one.id) ?? this.#makeCard(one.requestId)]));
        before.forEach((card, id) => this.#cards.has(id) || card.element.remove());
        announcements.forEach((one, i) => {
            const card = this.#cards.get(one.id);
            card.update(one, reason);
            if (this.#announcements.children[i] !== card.element) {
                this.#announcements.insertBefore(card.element, this.#announcements.children[i] ?? null);
            }
        });
        set(this.#announcements, 'hidden', announcements.length === 0);
        if (hadFocus) {
            keepFocus(this.#dialog.title);
        }
    }

    #fillSinks() {
        const ids = this.#store.get('zones', this.#id)?.sinkIds ?? [];
        const sinks = ids.map((id) => this.#store.get('sinks', id)).filter(Boolean)
            .sort((a, b) => compareNames(a.label, b.label));
        setText(this.#sinksTitle, t('zone.sinkCount', {n: sinks.length}));
        this.#list.setEntries(sinks.map((sink) => ({key: sink.id})));
    }

    #makeCard(requestId) {
        const title = h('strong', {dir: 'auto'});
        const facts = h('p', {class: 'note', dir: 'auto'});
        const cancel = h('button', {type: 'button', on: {click: once(async () => {
            await attempt(() => this.#app.api.operate('DELETE', path`/announcements/${requestId}`),
                t('announcement.cancelled'));
            keepFocus(this.#dialog.title);
        })}}, icon('stop'), t('announcement.cancel'));
        return {
            element: h('li', {class: 'card row'}, h('div', {class: 'grow'}, title, facts), cancel),
            update: (one, reason) => {
                setText(title, partLine(this.#store, one));
                setText(facts, [stateText(one.stateText), one.startDateTime && t('active.since',
                    {time: utcMoment(one.startDateTime, this.#store.status?.timeZone)}),
                priorityLine(one.priorityText)].filter(Boolean).join(' \u00b7 '));
                set(cancel, 'aria-label', t('active.cancelOf', {title: shortened(title.textContent)}));
                set(cancel, 'disabled', reason !== null);
            },
        };
    }
}
