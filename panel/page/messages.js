// SPDX-License-Identifier: Apache-2.0
// Messages to the user: toasts, and texts that only assistive technology reads.

import {h, replace, set, setText} from './dom.js';
import {icon} from './icons.js';
import {hasText, t} from './i18n.js';

const lifetime = 6000;
const mostToasts = 3;
/// An operation that takes longer than this is displayed as being sent.
const sendingPatience = 1000;

let audience = 0;  // counts the users of this page

const polite = h('div', {class: 'visually-hidden', 'aria-live': 'polite'});
const assertive = h('div', {class: 'visually-hidden', 'aria-live': 'assertive'});
const toasts = h('div', {class: 'toasts', role: 'region'});

/// The elements of this module, for the page's body. A modal dialog takes them along: what is outside of
/// it is not read while it is open.
export function messageRegions() {
    set(toasts, 'aria-label', t('messages.region'));
    return [polite, assertive, toasts];
}

/// Puts the messages into the dialog that is opened last, or back into the page. Toasts have a place of their
/// own there, so that they never cover a control.
export function moveMessages() {
    const dialog = [...document.querySelectorAll('dialog[open]')].pop();
    const place = dialog ?? document.querySelector('.content') ?? document.body;
    if (toasts.parentNode !== place) {
        (dialog ?? document.body).append(polite, assertive);
        place.insertBefore(toasts, dialog?.querySelector('.dialog-footer') ?? null);
    }
}

/// What concerns one user is not displayed to the next one.
export function clearMessages() {
    audience += 1;
    replace(toasts);
}

/// Has a text read out; `urgent` interrupts what is being read.
export function announce(text, urgent = false) {
    const region = urgent ? assertive : polite;
    setText(region, region.textContent === text ? `${text}\u00a0` : text);
}

/// What gets the focus when the element that has it is removed.
function placeOfFocus() {
    return toasts.closest('dialog')?.querySelector('h2') ?? document.querySelector('main') ?? document.body;
}

/// Displays a message for some seconds. `kind` is 'done', 'note', 'error' or 'pending'; the last two stay until
/// they are closed. `action` is {label, run}. Returns a function that removes it.
export function toast(text, kind = 'note', action = null) {
    const remove = () => {
        clearTimeout(timer);
        const hadFocus = box.contains(document.activeElement);
        box.remove();
        if (hadFocus) {
            (toasts.querySelector('button') ?? placeOfFocus()).focus();
        }
    };
    const box = h('div', {class: `toast toast-${kind}`},
        icon({done: 'check', note: 'announce', pending: 'announce', error: 'warning'}[kind]),
        h('p', {dir: 'auto'}, text),
        action && h('button', {type: 'button', class: 'quiet', on: {click: () => {
            remove();
            action.run();
        }}}, action.label),
        h('button', {type: 'button', class: 'quiet icon-button', 'aria-label': t('messages.close'),
            on: {click: remove}}, icon('close')));
    const timer = ['error', 'pending'].includes(kind) ? null : setTimeout(remove, lifetime);
    moveMessages();
    toasts.append(box);
    while (toasts.children.length > mostToasts) {
        toasts.firstChild.remove();
    }
    toasts.scrollTop = toasts.scrollHeight;
    announce(text, kind === 'error');
    return remove;
}

/// The text of an error for people: in their language by its code, with the gateway's own text.
export function errorText(error) {
    const key = `error.${error.code}`;
    if (!error.code || !hasText(key)) {
        return error.text ?? error.message;
    }
    const suggestions = (error.details?.suggestions ?? error.details?.candidates ?? [])
        .filter((name) => !error.text?.includes(name));
    const nearest = suggestions.length > 0 ? ` ${t('error.suggestions', {names: suggestions.join(', ')})}`
        : '';
    return t(key, {text: error.text ?? '', holder: error.details?.holder ?? '',
        seconds: error.retryAfter ?? 0}) + nearest;
}

/// Runs an operation of the user and displays what comes of it: `done`, a text, or the error, which has
/// a button to send the same operation again when the gateway has not answered. Returns the answer, null
/// after an error.
export async function attempt(operation, done = null) {
    const user = audience;
    let removeSending = () => {};
    const sending = setTimeout(() => { removeSending = toast(t('messages.sending'), 'pending'); }, sendingPatience);
    const display = (...message) => user === audience && toast(...message);
    try {
        const answer = await operation();
        if (done !== null) {
            display(typeof done === 'function' ? done(answer) : done, 'done');
        }
        return answer ?? {};
    } catch (error) {
        if (error.name === 'AbortError') {
            return null;
        }
        if (error.status === undefined) {
            console.error(error);
        }
        const again = error.code === 'unreachable' && error.retry
            ? {label: t('messages.again'), run: () => attempt(error.retry, done)} : null;
        display(errorText(error), 'error', again);
        return null;
    } finally {
        clearTimeout(sending);
        removeSending();
    }
}
