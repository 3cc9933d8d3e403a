// SPDX-License-Identifier: Apache-2.0
// Editors of what is played and displayed, for announcements and for schedules. Each takes its value
// and `onChange(value)` and returns its element; an editor never changes the value that it is given.

import {h, newId, replace, set} from '../dom.js';
import {duration} from '../format.js';
import {t} from '../i18n.js';
import {icon} from '../icons.js';
import {errorText} from '../messages.js';
import {audioPlayer} from '../widgets/audioPlayer.js';
import {recentTemplates} from './announceRecent.js';

/// A list that only some servers give: null where this one does not.
export async function listOf(api, kind, signal) {
    try {
        return (await api.get(`/${kind}`, {signal}))[kind];
    } catch (error) {
        if (error.code === 'not-supported') {
            return null;
        }
        throw error;
    }
}

/// "1.8 s", from a minute on "1 min 5 s"
export function secondsText(seconds) {
    return seconds < 60 ? t('compose.seconds', {n: Math.round(seconds * 10) / 10}) : duration(seconds * 1000);
}

/// A label above its control.
export function field(label, control, note = null) {
    control.id ||= newId();
    return h('div', {class: 'field'}, h('label', {for: control.id}, label), control,
        note && h('small', {}, note));
}

/// A field for a number, which is reported when it is valid; null when it may be empty and is.
export function numberField(label, value, {min, max, step = 1, isOptional = false, note = null}, onChange) {
    const error = h('small', {class: 'field-error', id: newId(), hidden: true}, t('compose.range', {min, max}));
    const input = h('input', {type: 'number', min, max, step, required: !isOptional, value: value ?? '',
        'aria-describedby': error.id, on: {input: () => {
            const isValid = input.validity.valid;
            set(input, 'aria-invalid', isValid ? null : 'true');
            set(error, 'hidden', isValid);
            if (isValid) {
                onChange(input.value === '' ? null : input.valueAsNumber);
            }
        }}});
    const element = field(label, input, note);
    element.append(error);
    return element;
}

/// Whether a number in an element is not the one that its field displays.
export function hasWrongNumber(element) {
    return [...element.querySelectorAll('[aria-invalid=true]')].some((input) => input.getClientRects().length > 0);
}

function iconButton(name, label, click, isEnabled = true) {
    return h('button', {type: 'button', class: 'quiet icon-button', 'aria-label': label, disabled: !isEnabled,
        on: {click}}, icon(name));
}

/// Rows that can be added and removed; `make(value, change, index)` makes the content of one. The focus
/// stays near a row that is removed.
export function rows({values, make, blank, addLabel, removeLabel, least = 1, onChange}) {
    let current = [...values];
    const list = h('ul', {class: 'rows'});
    const add = h('button', {type: 'button', class: 'quiet', on: {click: () => {
        change([...current, blank()]);
        list.lastChild.querySelector('input, textarea')?.focus();
    }}}, icon('plus'), addLabel);
    const change = (next) => {
        current = next;
        fill();
        onChange(current);
    };
    const fill = () => replace(list, current.map((value, i) => h('li', {},
        make(value, (next) => {
            current = current.with ? current.with(i, next) : Object.assign([...current], {[i]: next});
            onChange(current);
        }, i),
        current.length > least && iconButton('trash', removeLabel(i), () => {
            change(current.filter((_, j) => j !== i));
            (list.children[Math.min(i, current.length - 1)]?.querySelector('input, textarea') ?? add).focus();
        }))));
    fill();
    return h('div', {class: 'rows-editor'}, list, add);
}

/// Texts that are spoken in turn by one voice; each can be played here. The value is {texts, voice}.
export function speechEditor({app, texts, voice, onChange}) {
    let value = {texts, voice};
    const players = new Set();
    const change = (part) => {
        value = {...value, ...part};
        onChange(value);
    };
    const voices = app.store.all('voices').map((one) => ({language: one.language, voice: one.voice, text: one.text}));
    const isSame = (one) => one.language === voice?.language && one.voice === voice?.voice;
    if (voice && !voices.some(isSame)) {
        voices.push({...voice, text: ''});  // not there now; another one is the user's choice
    }
    const voiceAt = (i) => ({language: voices[i].language, voice: voices[i].voice});
    const select = h('select', {value: String(Math.max(voices.findIndex(isSame), 0)), disabled: voices.length === 0,
        on: {change: () => {
            players.forEach((player) => player.clear());
            change({voice: voiceAt(Number(select.value))});
        }}},
    voices.map((one, i) => h('option', {value: String(i)}, `${one.text || one.voice} (${one.language}, ${one.voice})`)),
    voices.length === 0 && h('option', {}, t('compose.noVoices')));
    if (!voice && voices.length > 0) {
        change({voice: voiceAt(0)});
    }
    const textRow = (text, changeText, i) => {
        const input = h('textarea', {rows: 3, maxlength: 4000, dir: 'auto', value: text,
            on: {input: () => {
                player.clear();
                player.setEnabled(input.value.trim() !== '');
                changeText(input.value);
            }}});
        const player = audioPlayer({label: t('compose.textNumber', {n: i + 1}), textOf: errorText,
            load: (signal) => preview(app.api, {text: input.value, ...value.voice}, signal)});
        player.setEnabled(text.trim() !== '');
        players.add(player);
        return h('div', {class: 'speech-text'}, field(t('compose.textNumber', {n: i + 1}), input), player.element);
    };
    return h('div', {class: 'stack'},
        field(t('compose.voice'), select),
        rows({values: texts, make: textRow, blank: () => '', addLabel: t('compose.addText'),
            removeLabel: (i) => t('compose.removeText', {n: i + 1}), onChange: (next) => change({texts: next})}));
}

function preview(api, body, signal) {
    return api.operate('POST', '/previews', body, {signal});
}

/// A WAV file of this computer, sent to the gateway when it is chosen; what the gateway has answered.
export function uploadEditor({app, value, onChange}) {
    let url = null;
    let file = value?.file ?? null;
    const status = h('output', {class: 'upload-status'});
    const player = audioPlayer({label: t('compose.file'), textOf: errorText, load: async () => {
        url ??= URL.createObjectURL(file);
        return {url};
    }});
    const describe = (upload) => replace(status, upload ? t('compose.uploaded', {name: upload.name,
        length: secondsText(upload.seconds), rate: upload.rate, channels: upload.channels}) : '');
    const take = async () => {
        if (url) {
            URL.revokeObjectURL(url);
            url = null;
        }
        player.clear();
        player.setEnabled(false);
        onChange(null);
        const chosen = input.files[0] ?? null;
        file = chosen;
        if (!chosen) {
            describe(null);
            return;
        }
        replace(status, t('compose.uploading', {name: chosen.name}));
        try {
            const upload = await app.api.operate('POST', '/uploads', chosen, {query: {name: chosen.name}});
            if (file === chosen) {
                describe(upload);
                player.setEnabled(true);
                onChange({...upload, file});
            }
        } catch (error) {
            if (file === chosen) {
                replace(status, errorText(error));
            }
        }
    };
    const input = h('input', {type: 'file', accept: '.wav,audio/wav,audio/x-wav', on: {change: take}});
    player.setEnabled(file !== null);
    describe(value);
    return h('div', {class: 'stack'}, field(t('compose.file'), input, t('compose.fileNote')), status, player.element);
}

/// A template of a text to display with its variables: {template, variables: [[key, text]], validity}. The
/// server does not list its templates: those that this browser has used are offered.
export function displayEditor({value, onChange}) {
    let current = value;
    const change = (part) => {
        current = {...current, ...part};
        onChange(current);
    };
    const used = h('datalist', {id: newId()}, recentTemplates.all().map((name) => h('option', {value: name})));
    const template = h('input', {type: 'text', maxlength: 200, value: value.template, dir: 'auto', list: used.id,
        autocomplete: 'off', spellcheck: 'false', on: {input: () => change({template: template.value})}});
    const variable = ([key, text], changeVariable, i) => {
        const keyInput = h('input', {type: 'text', maxlength: 200, value: key, placeholder: t('compose.key'),
            'aria-label': t('compose.keyNumber', {n: i + 1}), on: {input: report}});
        const textInput = h('input', {type: 'text', maxlength: 2000, value: text, dir: 'auto',
            placeholder: t('compose.value'), 'aria-label': t('compose.valueNumber', {n: i + 1}), on: {input: report}});
        function report() {
            changeVariable([keyInput.value, textInput.value]);
        }
        return h('div', {class: 'variable'}, keyInput, textInput);
    };
    return h('div', {class: 'stack'},
        field(t('compose.template'), template), used,
        rows({values: value.variables, make: variable, blank: () => ['', ''], addLabel: t('compose.addVariable'),
            removeLabel: (i) => t('compose.removeVariable', {n: i + 1}), least: 0,
            onChange: (variables) => change({variables})}),
        numberField(t('compose.validity'), value.validity, {min: 0, max: 86400, note: t('compose.validityNote')},
            (validity) => change({validity})));
}
