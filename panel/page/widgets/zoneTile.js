// SPDX-License-Identifier: Apache-2.0
// A zone on the board.

import {h, set, setText} from '../dom.js';
import {t} from '../i18n.js';
import {isFaulty} from '../Health.js';
import {contentType, partLine, partOf} from './contentType.js';
import {healthBadge} from './healthBadge.js';

export function isBusy(zone) {
    return zone.activity !== 0;
}

/// Whether a zone is the other one or part of it.
export function isWithin(zone, other) {
    return zone === other || zone.startsWith(`${other}/`);
}

/// The announcements that concern a zone, those that play first.
export function announcementsOf(store, zone) {
    return store.all('announcements')
        .filter((one) => one.zones.some((other) => isWithin(zone.id, other) || isWithin(other, zone.id)))
        .sort((a, b) => (b.stateText === 'Playing') - (a.stateText === 'Playing'));
}

/// What a zone does, in a line.
export function activityText(store, zone) {
    if (!isBusy(zone)) {
        return t('zone.idle');
    }
    const {requestId, part} = zone.announcement ?? {};
    const playing = store.all('announcements').find((one) => one.requestId === requestId && partOf(one) === part);
    return playing ? partLine(store, playing)
        : contentType(zone.announcementType, zone.announcementTypeText) || zone.activityText;
}

/// "2 of 12 faulty", or the level.
export function zoneHealthText({level, faulty, total}) {
    return isFaulty(level) && total > 0 ? t('zone.faulty', {n: faulty, total}) : t(`health.${level}`);
}

/// A cell of a VirtualList; `onOpen(zone)` is called when the user chooses it.
export function zoneTile(store, onOpen) {
    let id = '';
    const name = h('span', {class: 'zone-name', dir: 'auto'});
    const activity = h('span', {class: 'zone-activity', dir: 'auto'});
    const health = healthBadge();
    const button = h('button', {type: 'button', class: 'zone-tile', on: {click: () => onOpen(id)}},
        name, activity, health.element);
    return {
        element: button,
        focusable: button,
        update(key) {
            const zone = store.get('zones', key);
            if (!zone) {
                return;
            }
            id = key;
            const its = store.health.zone(zone);
            setText(name, zone.id);
            set(name, 'title', zone.id);
            setText(activity, activityText(store, zone));
            set(button, 'data-activity', isBusy(zone) ? 'busy' : 'idle');
            health.update(its.level, zoneHealthText(its));
        },
    };
}
