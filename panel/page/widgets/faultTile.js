// SPDX-License-Identifier: Apache-2.0
// A fault in the list of the health view. It opens the zone of a sink, or the source.

import {h, setText} from '../dom.js';
import {duration, wallMoment} from '../format.js';
import {t} from '../i18n.js';
import {healthBadge} from './healthBadge.js';
import {sinkType} from './sinkCard.js';
import {sourceName, sourceType} from './sourceTile.js';

const describe = {
    sinks: (sink) => [sink.label || t('sink.number', {n: sink.id}), sinkType(sink), sink.location,
        ...sink.paZoneList],
    sources: (source) => [sourceName(source), sourceType(source), source.location],
    zones: (zone) => [zone.id, t('health.zone')],
};

function open(app, {kind, record}) {
    if (kind === 'sources') {
        app.go('live', String(record.id));
    } else if (kind === 'zones') {
        app.go('board', record.id);
    } else {
        const zone = record.paZoneList.find((id) => app.store.get('zones', id));
        app.go('board', ...zone ? [zone] : []);
    }
}

function sinceText(clock, {faultySince, faultyBefore}) {
    if (!faultySince) {
        return '';
    }
    const age = clock.ageOf(faultySince);
    return t(faultyBefore ? 'health.faultyBefore' : 'health.faultySince',
        {since: wallMoment(clock.wallBefore(age), clock.wallNow()), duration: duration(age)});
}

/// A cell of a VirtualList; `faultOf(id)` finds what it displays.
export function faultTile(app, faultOf) {
    let fault = null;
    const name = h('strong', {class: 'fault-name', dir: 'auto'});
    const facts = h('span', {class: 'fault-facts', dir: 'auto'});
    const since = h('span', {class: 'fault-since'});
    const health = healthBadge();
    const button = h('button', {type: 'button', class: 'fault-tile', on: {click: () => open(app, fault)}},
        name, facts, h('span', {class: 'fault-end'}, health.element, since));
    return {
        element: button,
        focusable: button,
        update(key) {
            fault = faultOf(key) ?? fault;
            const [title, ...rest] = describe[fault.kind](fault.record);
            setText(name, title);
            setText(facts, rest.filter(Boolean).join(' \u00b7 '));
            health.update(fault.level);
            setText(since, sinceText(app.store.clock, fault.record));
        },
    };
}
