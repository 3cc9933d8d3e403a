// SPDX-License-Identifier: Apache-2.0
// What plays and what this page has sent: its parts, its zones, and a button that cancels it.

import {path} from '../api.js';
import {h, replace, set, setText} from '../dom.js';
import {utcMoment} from '../format.js';
import {hasText, t} from '../i18n.js';
import {icon} from '../icons.js';
import {announce, attempt, errorText} from '../messages.js';
import {partLine, partOf} from '../widgets/contentType.js';
import {keepFocus, once} from '../widgets/pressing.js';
import {shortened} from './announceModel.js';

const mostZones = 60;
const noPart = 7;  // the type of a part that is not there

/// The records of the store by the announcement that they are parts of, the newest first. A recording that is
/// being made has no parts.
function activeRequests(store) {
    const requests = new Map();
    const isPart = (record) => [record.audioMessageType, record.visualMessageType].some((type) => type !== noPart);
    for (const record of store.all('announcements').filter(isPart)) {
        if (!requests.has(record.requestId)) {
            requests.set(record.requestId, []);
        }
        requests.get(record.requestId).push(record);
    }
    return [...requests].reverse();
}

/// A state in the language of the user; what is not known is as it is.
export function stateText(state) {
    const key = `state.${String(state).toLowerCase()}`;
    return hasText(key) ? t(key) : String(state);
}

/// The list, to be removed with `destroy()`. `sent` follows what this page has sent.
export function activeList({app, sent}) {
    const list = h('ul', {class: 'active-list'});
    const empty = h('p', {class: 'note'}, t('active.none'));
    const element = h('div', {}, empty, list);
    const cards = new Map();  // by request id
    const canCancel = app.session.role === 'operator';

    const fill = () => {
        const focused = document.activeElement?.closest('.active-card');
        const own = new Map(sent.all().map((one) => [one.requestId, one]));
        const active = new Map(activeRequests(app.store));
        const ids = [...new Set([...own.keys(), ...active.keys()])];
        for (const [id, card] of cards) {
            if (!ids.includes(id)) {
                card.element.remove();
                cards.delete(id);
            }
        }
        ids.forEach((id, i) => {
            if (!cards.has(id)) {
                cards.set(id, makeCard(id));
            }
            const card = cards.get(id);
            card.update(own.get(id) ?? null, active.get(id) ?? []);
            if (list.children[i] !== card.element) {
                list.insertBefore(card.element, list.children[i] ?? null);
            }
        });
        set(empty, 'hidden', ids.length > 0);
        if (focused) {
            keepFocus(focused.querySelector('h3'), list.querySelector('h3'), element.parentElement.querySelector('h2'));
        }
    };

    function makeCard(id) {
        const title = h('h3', {dir: 'auto', tabindex: -1});
        const state = h('span', {class: 'badge'});
        const reason = h('p', {class: 'note', dir: 'auto'});
        const parts = h('ul', {class: 'part-list'});
        const zones = h('ul', {class: 'zone-progress', 'aria-label': t('active.zones')});
        const cancel = h('button', {type: 'button', class: 'danger', on: {click: once(() => end(id))}},
            icon('stop'), t('active.cancel'));
        const close = h('button', {type: 'button', class: 'quiet icon-button', 'aria-label': t('active.forget'),
            on: {click: () => {
                sent.forget(id);
                fill();
            }}}, icon('close'));
        const element = h('li', {class: 'active-card', 'data-request': id},
            h('header', {}, title, state, cancel, close), reason, parts, zones);
        let read = null;  // the state that has been read out
        let displayed = '';
        const update = (own, records) => {
            const zoneStates = zonesOf(own, records, app.store);
            const next = JSON.stringify([own, records, zoneStates, own?.problem?.code, app.whyNot()]);
            if (next === displayed) {
                return;
            }
            displayed = next;
            const isOver = own ? own.isOver && records.length === 0 : false;
            const word = own ? own.state : records.some((record) => record.stateText === 'Playing') ? 'playing'
                : records[0].stateText;
            setText(title, own?.title || contentOf(app.store, records) || id);
            setText(state, stateText(word));
            set(state, 'data-state', String(word).toLowerCase());
            setText(reason, own?.problem && !isOver ? errorText(own.problem) : reasonBeside(word, own?.reason));
            set(reason, 'hidden', reason.textContent === '');
            replace(parts, partsOf(own, records).map((part) => h('li', {}, h('strong', {}, part.name), ' ',
                stateText(part.state),
                reasonBeside(part.state, part.reason) && `: ${part.reason}`, part.since && ` (${part.since})`)));
            showZones(zones, zoneStates, isOver);
            set(cancel, 'aria-label', t('active.cancelOf', {title: shortened(title.textContent)}));
            set(cancel, 'disabled', app.whyNot() !== null);
            set(cancel, 'hidden', isOver || !canCancel);
            set(close, 'hidden', !isOver);
            if (own && read !== word) {
                read = word;
                announce(t('active.read', {title: shortened(title.textContent), state: stateText(word)}));
            }
        };
        return {element, update};
    }

    const startOf = (record) => record.startDateTime
        && t('active.since', {time: utcMoment(record.startDateTime, app.store.status?.timeZone)});

    function partsOf(own, records) {
        if (records.length > 0) {
            return records.map((record) => ({state: record.stateText, reason: record.completionMsg,
                name: t(`active.${partOf(record)}`), since: startOf(record)}));
        }
        return (own?.parts ?? []).map((part) => ({state: part.state, reason: part.reason,
            name: t(`active.${part.part}`), since: null}));
    }

    async function end(id) {
        await attempt(() => app.api.operate('DELETE', path`/announcements/${id}`), t('active.cancelled'));
    }

    sent.onChange = fill;
    fill();
    const endFollowing = app.store.subscribe(['announcements', 'zones', 'status'], fill);
    return {element, destroy: () => {
        endFollowing();
        sent.onChange = null;
    }};
}

/// The reason of a state; none when it is but the word for the state.
function reasonBeside(state, reason) {
    return reason && reason.toLowerCase() !== String(state).toLowerCase() ? reason : '';
}

/// "Speech: Mind the gap, Display template: Luggage"
function contentOf(store, records) {
    return [...new Set(records.map((record) => partLine(store, record)))].join(', ');
}

/// The zones of a request, and whether it plays there now.
function zonesOf(own, records, store) {
    if (own && own.zones.length > 0) {
        return own.zones;
    }
    const names = [...new Set(records.flatMap((record) => record.zones))];
    const isPlaying = (id) => store.get('zones', id)?.activity !== 0
        && records.some((record) => record.stateText === 'Playing' && record.zones.includes(id));
    return names.map((id) => ({id, isPlaying: isPlaying(id)}));
}

function showZones(list, zones, isOver) {
    const listed = zones.slice(0, mostZones);
    replace(list, listed.map((zone) => {
        const word = zone.isPlaying ? 'playing' : isOver ? 'over' : 'waiting';
        return h('li', {'data-state': word}, h('bdi', {}, zone.id), ' ', h('small', {}, t(`active.zone.${word}`)));
    }), zones.length > listed.length && h('li', {}, t('active.moreZones', {n: zones.length - listed.length})));
}
