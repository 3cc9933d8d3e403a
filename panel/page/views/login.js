// SPDX-License-Identifier: Apache-2.0
// The form that begins a session.

import {h, set, setText} from '../dom.js';
import {t} from '../i18n.js';
import {errorText} from '../messages.js';

function mount(root, app) {
    let timer = null;
    let until = 0;  // attempts are refused until then, by performance.now()
    let isSending = false;
    const user = h('input', {id: 'login-user', type: 'text', autocomplete: 'username', maxlength: 64,
        required: true, spellcheck: 'false', dir: 'auto'});
    const password = h('input', {id: 'login-password', type: 'password', autocomplete: 'current-password',
        maxlength: 256, required: true});
    const button = h('button', {type: 'submit', class: 'primary'}, t('login.submit'));
    const problem = h('p', {class: 'login-problem', role: 'alert', dir: 'auto'}, app.endReason);
    const waiting = h('p', {class: 'login-problem', 'aria-live': 'off'});
    const form = h('form', {class: 'login-form', on: {submit: (event) => {
        event.preventDefault();
        logIn();
    }}},
    h('h1', {}, t('login.title')), problem, waiting,
    h('div', {class: 'field'}, h('label', {for: user.id}, t('login.user')), user),
    h('div', {class: 'field'}, h('label', {for: password.id}, t('login.password')), password),
    button);

    const showWait = () => {
        const seconds = Math.ceil((until - performance.now()) / 1000);
        set(button, 'disabled', isSending || seconds > 0);
        setText(waiting, seconds > 0 ? t('login.wait', {n: seconds}) : '');
        if (seconds <= 0) {
            clearInterval(timer);
            timer = null;
        }
    };

    async function logIn() {
        if (button.disabled) {
            return;
        }
        isSending = true;
        showWait();
        setText(problem, '');
        try {
            await app.logIn(user.value, password.value);
            return;
        } catch (error) {
            isSending = false;
            if (error.code === 'throttled') {
                until = performance.now() + (error.retryAfter ?? 1) * 1000;
                timer ??= setInterval(showWait, 1000);
                setText(problem, t('login.throttled'));
            } else {
                setText(problem, error.code === 'wrong-credentials' ? t('login.wrong') : errorText(error));
                set(password, 'value', '');
                password.focus();
            }
        }
        showWait();
    }

    root.append(form);
    user.focus();
    return () => clearInterval(timer);
}

export default {id: 'login', titleKey: 'login.title', mount};
