// SPDX-License-Identifier: Apache-2.0
// The triggers of a source: those of its hardware, and software triggers, which are made here.

import {path} from '../api.js';
import {h, replace, set, setText} from '../dom.js';
import {t} from '../i18n.js';
import {icon} from '../icons.js';
import {attempt} from '../messages.js';
import {keepFocus, once, refill} from './pressing.js';

const active = 2;

export function sourceTriggers(app, id) {
    let triggers = [];
    let whyNot = null;      // why nothing can be changed
    let whyNotUsed = null;  // why the source cannot be used
    const list = h('ul', {class: 'stack'});
    const none = h('p', {class: 'note'}, t('trigger.none'));
    const priority = h('input', {type: 'number', min: 0, max: 100, step: 1, value: 50, required: true});
    const chime = h('input', {type: 'text', maxlength: 200, autocomplete: 'off'});
    const display = h('input', {type: 'text', maxlength: 2000, autocomplete: 'off'});
    const create = h('button', {type: 'submit'}, icon('plus'), t('trigger.create'));
    const submit = once(() => operate('POST', '/triggers', 'trigger.created', {sourceId: id,
        priority: priority.valueAsNumber, preChime: chime.value, displayText: display.value}));
    const form = h('form', {class: 'stack', on: {submit: (event) => {
        event.preventDefault();
        submit();
    }}},
    field('trigger.priority', priority), field('trigger.preChime', chime),
    field('trigger.displayText', display), h('div', {class: 'row'}, create));
    const element = h('div', {class: 'stack'}, list, none,
        h('details', {}, h('summary', {}, t('trigger.new')), form));

    function field(key, input) {
        return h('label', {class: 'field'}, h('span', {}, t(key)), input);
    }

    async function operate(method, where, doneKey, body = null) {
        await attempt(() => app.api.operate(method, where, body), t(doneKey));
        await read();
        keepFocus(list.querySelector('button'), element.querySelector('summary'));
    }

    function button(trigger, key, iconName, method, part, doneKey) {
        const reason = part === '/active' ? whyNotUsed : whyNot;
        const where = path`/triggers/${trigger.id}` + part;
        return h('button', {type: 'button', disabled: reason !== null, title: reason,
            'aria-label': `${t(key)}: ${nameOf(trigger)}`,
            on: {click: once(() => operate(method, where, doneKey))}}, icon(iconName), t(key));
    }

    function nameOf(trigger) {
        // The label of a software trigger is the same for all.
        return (trigger.kind === 'hardware' && trigger.label)
            || t(`trigger.${trigger.kind}`, {n: String(trigger.id)});
    }

    function row(trigger) {
        const facts = [t('trigger.priorityOf', {n: trigger.priority}), trigger.preChime,
            trigger.displayParameters].filter(Boolean).join(' \u00b7 ');
        return h('li', {class: 'card row'},
            h('div', {class: 'grow'}, h('strong', {dir: 'auto'}, nameOf(trigger)),
                h('p', {class: 'note', dir: 'auto'}, facts)),
            trigger.kind === 'hardware'
                ? h('span', {class: 'badge', 'data-level': trigger.state === active ? 'busy' : null},
                    t(trigger.state === active ? 'trigger.active' : 'trigger.inactive'))
                : [button(trigger, 'trigger.activate', 'play', 'PUT', '/active', 'trigger.activated'),
                    button(trigger, 'trigger.deactivate', 'stop', 'DELETE', '/active',
                        'trigger.deactivated'),
                    button(trigger, 'trigger.delete', 'trash', 'DELETE', '', 'trigger.deleted')]);
    }

    function fillList() {
        const own = triggers.filter((trigger) => trigger.associatedSourceId === id);
        refill(list, () => replace(list, own.map(row)));
        set(list, 'hidden', own.length === 0);
        set(none, 'hidden', own.length > 0);
        [priority, chime, display, create].forEach((control) =>
            set(control, 'disabled', whyNot !== null));
        setText(none, t('trigger.none'));
    }

    async function read() {
        try {
            ({triggers} = await app.api.get('/triggers'));
            fillList();
        } catch {
            // Is read again after the next operation.
        }
    }

    read();
    return {
        element,
        read,
        /// Why nothing can be changed now, and why the source cannot be used; null when it can.
        fill(reason, reasonOfUse) {
            if (reason !== whyNot || reasonOfUse !== whyNotUsed) {
                whyNot = reason;
                whyNotUsed = reasonOfUse;
                fillList();
            }
        },
    };
}
