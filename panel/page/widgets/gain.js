// SPDX-License-Identifier: Apache-2.0
// A gain as a slider and a number.

import {h, set} from '../dom.js';
import {decibels} from '../format.js';
import {t} from '../i18n.js';

// Keys and a slider that is being moved give many values; the last one counts.
const pause = 400;

/// `onSet(level)` is called with what the user has chosen and resolves when it is in force or refused.
export function gainControl({min, max, onSet}) {
    let level = 0;         // in force
    let timer = null;
    let isSetting = false;
    const slider = h('input', {type: 'range', min, max, step: '0.5'});
    const number = h('input', {type: 'number', min, max, step: '0.1', inputmode: 'decimal'});

    const display = (value) => {
        set(slider, 'value', value);
        set(slider, 'aria-valuetext', decibels(value));
        set(number, 'value', value);
    };
    const send = async () => {
        clearTimeout(timer);
        timer = null;
        const wanted = number.valueAsNumber;
        if (!(wanted >= min && wanted <= max)) {
            number.reportValidity();
            display(level);
            return;
        }
        isSetting = true;
        await onSet(wanted);
        isSetting = false;
        if (timer === null) {
            display(level);
        }
    };
    const sendSoon = () => {
        clearTimeout(timer);
        timer = setTimeout(send, pause);
    };
    slider.addEventListener('input', () => {
        set(number, 'value', slider.value);
        set(slider, 'aria-valuetext', decibels(slider.valueAsNumber));
        sendSoon();
    });
    number.addEventListener('change', sendSoon);
    number.addEventListener('keydown', (event) => {
        if (event.key === 'Enter' && number.value !== String(level)) {
            sendSoon();
        }
    });
    const element = h('div', {class: 'gain', role: 'group'}, slider, number,
        h('span', {'aria-hidden': 'true'}, 'dB'));
    return {
        element,
        /// What the server reports; `name` is whose gain it is.
        update(value, name, isDisabled) {
            level = value;
            set(element, 'aria-label', t('gain.of', {name}));
            set(slider, 'aria-label', t('gain.slider', {name}));
            set(number, 'aria-label', t('gain.number', {name}));
            set(slider, 'disabled', isDisabled);
            set(number, 'disabled', isDisabled);
            const isEditing = timer !== null || isSetting
                || (document.activeElement === number && number.value !== '');
            if (!isEditing) {
                display(value);
            }
        },
        /// Another record takes the control's place: what has been chosen for the last one is sent.
        release() {
            if (timer !== null) {
                send();
            }
        },
    };
}
