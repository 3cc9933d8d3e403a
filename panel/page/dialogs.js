// SPDX-License-Identifier: Apache-2.0
// Modal dialogs on <dialog>: the browser keeps the focus inside, closes with Escape, and gives the focus
// back.

import {h, newId} from './dom.js';
import {icon} from './icons.js';
import {moveMessages} from './messages.js';
import {t} from './i18n.js';

/// Opens a dialog with a title and content. `kind` is 'drawer' (at the side, the whole page on narrow
/// ones), 'sheet' (wide, in the middle) or 'question'. `onClose(value)` is called once. Returns
/// {element, body, title, close(value)}.
export function openDialog({title, kind = 'sheet', content = [], footer = [], onClose = () => {}}) {
    const titleId = newId();
    // Can be scrolled by keys also when nothing in it takes the focus.
    const body = h('div', {class: 'dialog-body', tabindex: 0}, content);
    const heading = h('h2', {id: titleId, dir: 'auto', tabindex: '-1'}, title);
    const element = h('dialog', {class: `dialog ${kind}`, 'aria-labelledby': titleId},
        h('header', {class: 'dialog-header'}, heading,
            h('button', {type: 'button', class: 'quiet icon-button', 'aria-label': t('dialog.close'),
                on: {click: () => element.close()}}, icon('close'))),
        body,
        footer.length > 0 && h('footer', {class: 'dialog-footer'}, footer));
    element.addEventListener('close', () => {
        moveMessages();
        element.remove();
        onClose(element.returnValue);
    });
    // A click on the backdrop is one on the dialog itself.
    element.addEventListener('mousedown', (event) => {
        if (event.target === element && kind === 'drawer') {
            element.close();
        }
    });
    document.body.append(element);
    element.showModal();
    moveMessages();
    (element.querySelector('[data-autofocus]') ?? heading).focus();
    return {element, body, title: heading, close: (value = '') => element.close(value)};
}

/// Asks before something that cannot be undone. Resolves to whether the user agrees.
export function confirm({title, text, action, isDangerous = false}) {
    return new Promise((resolve) => {
        const dialog = openDialog({title, kind: 'question', content: [h('p', {dir: 'auto'}, text)],
            footer: [
                h('button', {type: 'button', 'data-autofocus': '', on: {click: () => dialog.close()}},
                    t('dialog.cancel')),
                h('button', {type: 'button', class: isDangerous ? 'danger' : 'primary',
                    on: {click: () => dialog.close('yes')}}, action),
            ],
            onClose: (value) => resolve(value === 'yes')});
    });
}

/// Closes every dialog, as when the view changes.
export function closeDialogs() {
    document.querySelectorAll('dialog[open]').forEach((dialog) => dialog.close());
}
