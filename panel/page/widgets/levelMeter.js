// SPDX-License-Identifier: Apache-2.0
// The level meter of a source. It reads while it is switched on: a reading page is a connection.

import {path} from '../api.js';
import {h, set, setText} from '../dom.js';
import {openEventStream} from '../eventStream.js';
import {decibels} from '../format.js';
import {t} from '../i18n.js';
import {icon} from '../icons.js';
import {announce} from '../messages.js';

const lowest = -60;

export function levelMeter(id) {
    let close = null;
    let level = null;
    let isDue = false;
    const bar = h('div', {class: 'level-bar'});
    const meter = h('div', {class: 'level-meter', role: 'meter', 'aria-label': t('level.title'),
        'aria-valuemin': lowest, 'aria-valuemax': 0, 'aria-valuenow': lowest}, bar);
    const number = h('span', {class: 'level-number'});
    const button = h('button', {type: 'button', 'aria-pressed': 'false', on: {click: () =>
        (close ? stop() : start())}}, icon('speaker'), t('level.display'));
    const element = h('div', {class: 'row'}, button, meter, number);

    function display() {
        isDue = false;
        const part = level === null ? 0 : Math.min(1, Math.max(0, (level - lowest) / -lowest));
        bar.style.transform = `scaleX(${part})`;
        set(meter, 'aria-valuenow', level === null ? lowest : Math.max(lowest, Math.round(level)));
        set(meter, 'aria-valuetext', level === null ? t('level.none') : decibels(level));
        setText(number, level === null ? '' : decibels(level));
    }

    function start() {
        set(button, 'aria-pressed', 'true');
        close = openEventStream(path`/sources/${id}/levels`, {
            onEvent: (name, data) => {
                if (name === 'level') {
                    level = JSON.parse(data).level;
                    if (!isDue) {
                        isDue = true;
                        requestAnimationFrame(display);
                    }
                }
            },
            onEnd: (problem) => {
                stop();
                setText(number, problem.text ?? t('level.ended'));
                announce(number.textContent);
            },
        });
    }

    function stop() {
        close?.();
        close = null;
        level = null;
        set(button, 'aria-pressed', 'false');
        display();
    }

    // A page that is out of sight gives its connections back.
    const onVisibility = () => document.hidden && stop();
    document.addEventListener('visibilitychange', onVisibility);
    display();
    return {element, unmount: () => {
        document.removeEventListener('visibilitychange', onVisibility);
        stop();
    }};
}
