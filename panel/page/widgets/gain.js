// SPDX-License-Identifier: Apache-2.0
// A gain as a slider and a number.

import {h, newId, set, setText} from '../dom.js';
import {decibels} from '../format.js';
import {t} from '../i18n.js';
import {announce} from '../messages.js';

// Keys and a slider that is being moved give many values; the last one counts.
const pause = 400;

/// `onSet(level)` is called with what the user has chosen and resolves when it is in force, or to null when it is
/// refused.
export function gainControl({min, max, onSet}) {
    let level = 0;         // in force
    let timer = null;      // of a choice that is not sent yet
    let isTyping = false;  // the number is not sent yet, or it is out of range
    let setting = null;    // what is being set
    const range = t('gain.range', {min: decibels(min), max: decibels(max)});
    const unit = h('span', {class: 'gain-unit', id: newId()}, 'dB');
    const slider = h('input', {type: 'range', min, max, step: '0.5'});
    const number = h('input', {type: 'number', min, max, step: '0.1', inputmode: 'decimal',
        'aria-describedby': unit.id});
    const element = h('div', {class: 'gain', role: 'group'}, slider, number, unit);

    const display = () => {
        if (timer !== null || setting !== null) {
            return;
        }
        set(slider, 'value', level);
        set(slider, 'aria-valuetext', decibels(level));
        if (!isTyping) {
            set(number, 'value', level);
        }
    };
    const setValid = (isValid) => {
        set(number, 'aria-invalid', isValid ? null : 'true');
        set(unit, 'class', isValid ? 'gain-unit' : 'gain-unit field-error');
        setText(unit, isValid ? 'dB' : range);
    };
    const send = async () => {
        clearTimeout(timer);
        timer = null;
        const wanted = Math.round(number.valueAsNumber * 10) / 10;
        const isValid = wanted >= min && wanted <= max;
        setValid(isValid);
        if (!isValid) {
            announce(range, true);
            return;
        }
        isTyping = false;
        const own = {};
        setting = own;
        const answer = await onSet(wanted);
        if (setting === own) {
            setting = null;
            // The report may come later than the answer.
            level = answer === null ? level : wanted;
            display();
        }
    };
    const sendSoon = () => {
        clearTimeout(timer);
        timer = setTimeout(send, pause);
    };
    slider.addEventListener('input', () => {
        isTyping = false;
        setValid(true);
        set(number, 'value', slider.value);
        set(slider, 'aria-valuetext', decibels(slider.valueAsNumber));
        sendSoon();
    });
    number.addEventListener('input', () => { isTyping = true; });
    number.addEventListener('change', sendSoon);
    number.addEventListener('keydown', (event) => {
        if (event.key === 'Enter' && number.value !== String(level)) {
            sendSoon();
        }
    });
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
            display();
        },
        /// Another record takes the control's place: what has been chosen for the last one is sent.
        release() {
            if (timer !== null) {
                send();
            }
            setting = null;
            isTyping = false;
            setValid(true);
        },
    };
}
