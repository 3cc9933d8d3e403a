// SPDX-License-Identifier: Apache-2.0
// A sink with its gain, its monitoring and its reset.

import {path} from '../api.js';
import {confirm} from '../dialogs.js';
import {h, set, setText} from '../dom.js';
import {t} from '../i18n.js';
import {attempt} from '../messages.js';
import {gainControl} from './gain.js';
import {healthBadge} from './healthBadge.js';

const active = 2;
const muted = [0, 2];
// Speakers, loops and lines.
const typesWithGain = [1, 2, 3, 4];
// Interface units and mixers.
const typesWithReset = [9, 10];
const mostTypes = 10;

export function sinkType(sink) {
    return sink.type > 0 && sink.type <= mostTypes ? t(`sinkType.${sink.type}`) : t('type.unknown');
}

function sinkName(sink) {
    return sink.label || t('sink.number', {n: String(sink.id)});
}

/// A cell of a VirtualList; `isPersistent()` is whether gains are to outlive a restart.
export function sinkCard(app, isPersistent) {
    const {store, api} = app;
    let id = null;
    const label = h('strong', {class: 'sink-label', dir: 'auto'});
    const state = h('p', {class: 'note sink-state', dir: 'auto'});
    const health = healthBadge();
    const setGain = (level) => attempt(() => api.operate('PUT', path`/sinks/${id}/gain`,
        {level, persistent: isPersistent(), delayPersistence: false}));
    const gain = gainControl({min: -96, max: 0, onSet: setGain});
    const monitoring = h('input', {type: 'checkbox', on: {change: async () => {
        const sink = id;
        await attempt(() => api.operate('PUT', path`/sinks/${sink}/monitoring`,
            {enabled: monitoring.checked}));
        update(id);
    }}});
    const monitoringLabel = h('span', {}, t('sink.monitoring'));
    const reset = h('button', {type: 'button', on: {click: async () => {
        const sink = store.get('sinks', id);
        if (await confirm({title: t('sink.reset'), action: t('sink.reset'), isDangerous: true,
            text: t('sink.resetQuestion', {name: sinkName(sink)})})) {
            attempt(() => api.operate('POST', path`/sinks/${sink.id}/reset`, {untilBack: false}),
                t('sink.resetDone', {name: sinkName(sink)}));
        }
    }}}, t('sink.reset'));
    const element = h('div', {class: 'card sink-card'},
        h('div', {class: 'sink-head'}, label, health.element),
        state, gain.element,
        h('div', {class: 'row'}, h('label', {class: 'check'}, monitoring, monitoringLabel), reset));

    function update(key) {
        const sink = store.get('sinks', key);
        if (!sink) {
            return;
        }
        if (key !== id) {
            gain.release();
            id = key;
        }
        const reason = app.whyNot();
        setText(label, sinkName(sink));
        set(label, 'title', sinkName(sink));
        setText(state, [sinkType(sink), sink.location,
            t(sink.state === active ? 'sink.active' : 'sink.idle'),
            muted.includes(sink.muteState) && t('sink.muted')].filter(Boolean).join(' \u00b7 '));
        health.update(store.health.level('sinks', sink));
        set(gain.element, 'hidden', !typesWithGain.includes(sink.type));
        gain.update(sink.outputGain, sinkName(sink), reason !== null);
        set(monitoring, 'checked', sink.monitoringEnabled);
        set(monitoring, 'disabled', reason !== null);
        set(monitoring, 'aria-label', t('sink.monitoringOf', {name: sinkName(sink)}));
        set(reset, 'hidden', !typesWithReset.includes(sink.type));
        set(reset, 'disabled', reason !== null);
        set(reset, 'aria-label', t('sink.resetOf', {name: sinkName(sink)}));
    }
    return {element, update};
}
