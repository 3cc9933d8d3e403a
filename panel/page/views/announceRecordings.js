// SPDX-License-Identifier: Apache-2.0
// The recordings of the server: one is chosen, played back there or deleted, and a new one is made. The
// server makes one at a time, whichever client has asked for it.

import {confirm} from '../dialogs.js';
import {h, replace, set, setText} from '../dom.js';
import {utcMoment} from '../format.js';
import {t} from '../i18n.js';
import {icon} from '../icons.js';
import {attempt, errorText} from '../messages.js';
import {keepFocus, once} from '../widgets/pressing.js';
import {field, listOf, secondsText} from './announceParts.js';

/// The record of the recording that is being made, or undefined.
function currentRecording(store) {
    return store.all('announcements').find((one) => one.stateText === 'Recording');
}

/// The value is the path of the chosen recording, empty for none.
export function recordingEditor({app, value, onChange = () => {}}) {
    let path = value;
    let control = null;
    let isRead = false;
    const place = h('div', {});
    const status = h('p', {class: 'note', role: 'status'});
    const button = (iconName, key, click) => h('button', {type: 'button', on: {click: once(click)}}, icon(iconName),
        t(key));
    const playBack = button('speaker', 'record.playBack', () => operate('POST', '/recordings/preview', path,
        t('record.playedBack')));
    const remove = button('trash', 'record.delete', removeChosen);
    const buttons = h('div', {class: 'row'}, playBack, remove);
    const recorder = makeRecorder(app, operate, (stored) => {
        choose(stored);
        read();
    });

    function choose(next) {
        path = next;
        showButtons();
        onChange(path);
    }

    function showButtons() {
        const reason = app.whyNot();
        const isMade = currentRecording(app.store)?.completionMsg === path;
        set(playBack, 'disabled', path === '' || reason !== null);
        set(remove, 'disabled', path === '' || reason !== null || isMade);
    }

    function operate(method, where, recording, done) {
        return attempt(() => app.api.operate(method, where, recording ? {path: recording} : null), done);
    }

    async function removeChosen() {
        const chosen = path;
        if (await confirm({title: t('record.delete'), text: t('record.deleteQuestion', {path: chosen}),
            action: t('record.delete'), isDangerous: true})
            && await operate('DELETE', '/recordings', chosen, t('record.deleted', {path: chosen}))) {
            choose('');
            await read();
            keepFocus(control);
        }
    }

    /// What the server has; null where it does not list its recordings: the path is typed in then.
    async function read() {
        try {
            display(await listOf(app.api, 'recordings'));
            isRead = true;
            setText(status, '');
        } catch (error) {
            setText(status, errorText(error));
        }
    }

    function display(recordings) {
        if (recordings === null && control?.type === 'text') {
            set(control, 'value', path);
            return;
        }
        const hadFocus = control !== null && document.activeElement === control;
        const isListed = recordings?.some((one) => one.path === path);
        control = recordings === null
            ? h('input', {type: 'text', maxlength: 1000, spellcheck: 'false', value: path,
                on: {input: () => choose(control.value)}})
            : h('select', {value: path, on: {change: () => choose(control.value)}},
                h('option', {value: ''}, t('record.choose')),
                path !== '' && !isListed && h('option', {value: path}, path),
                recordings.map((one) => h('option', {value: one.path}, `${one.path} (${secondsText(one.seconds)})`)));
        replace(place, field(t('record.path'), control));
        if (hadFocus) {
            control.focus();
        }
    }

    display([]);
    showButtons();
    read();
    let last = currentRecording(app.store)?.id;
    const endFollowing = app.store.subscribe(['announcements', 'status'], () => {
        if (!place.isConnected) {
            endFollowing();
            return;
        }
        const now = currentRecording(app.store)?.id;
        if (now !== last || (!isRead && app.whyNot() === null)) {
            last = now;
            read();
        }
        showButtons();
        recorder.fill();
    });
    return h('div', {class: 'stack'}, place, buttons, status, recorder.element);
}

/// "recording-2026-12-01-09-41-03.wav"
function usualName(clock) {
    const now = clock.wallNow();
    return now === null ? 'recording.wav'
        : `recording-${new Date(now).toISOString().slice(0, 19).replace(/[T:]/g, '-')}.wav`;
}

/// Starts and stops; `onStored(path)` is called after a stop.
function makeRecorder(app, operate, onStored) {
    const name = h('input', {type: 'text', maxlength: 200, spellcheck: 'false', autocomplete: 'off'});
    const running = h('p', {role: 'status', dir: 'auto'});
    const button = (kind, iconName, key, send) => {
        const click = once(async () => {
            await send();
            fill();
        });
        return h('button', {type: 'button', class: kind, on: {click}}, icon(iconName), t(key));
    };
    const start = button('primary', 'live', 'record.start', async () => {
        const path = name.value.trim() || usualName(app.store.clock);
        if (await operate('POST', '/recordings/current', path, t('record.started'))) {
            set(name, 'value', '');
        }
    });
    const stop = button('danger', 'stop', 'record.stop', async () => {
        const answer = await operate('DELETE', '/recordings/current', '', ({path}) => t('record.stored', {path}));
        if (answer) {
            onStored(answer.path);
        }
    });
    const idle = h('div', {class: 'stack'}, field(t('record.name'), name, t('record.nameNote')),
        h('div', {class: 'row'}, start));
    const busy = h('div', {class: 'row'}, running, stop);
    const element = h('div', {class: 'recorder'}, idle, busy);

    function fill() {
        const record = currentRecording(app.store);
        const isAway = app.whyNot() !== null;
        const hadFocus = element.contains(document.activeElement);
        set(idle, 'hidden', record !== undefined);
        set(busy, 'hidden', record === undefined);
        setText(running, record ? t('record.running', {path: record.completionMsg,
            time: utcMoment(record.startDateTime, app.store.status?.timeZone)}) : '');
        [name, start, stop].forEach((control) => set(control, 'disabled', isAway));
        if (hadFocus) {
            keepFocus(stop, start);
        }
    }

    fill();
    return {element, fill};
}
