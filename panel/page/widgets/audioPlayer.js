// SPDX-License-Identifier: Apache-2.0
// A button that has a sound made, and the player that plays it here in the browser.

import {h, replace, set, setText} from '../dom.js';
import {t} from '../i18n.js';

/// `load(signal)` has the sound made and resolves to its {url}; what it throws is displayed in the
/// words of `textOf`. `label` names the sound for assistive technology.
export function audioPlayer({label, load, textOf}) {
    let loading = null;
    const status = h('output', {class: 'audio-status'});
    const sound = h('span', {class: 'audio-sound'});
    const button = h('button', {type: 'button', on: {click: listen}}, t('audio.listen'));
    const element = h('div', {class: 'audio-player'}, button, sound, status);

    async function listen() {
        if (loading) {
            clear();
            return;
        }
        clear();
        loading = new AbortController();
        const {signal} = loading;
        setText(button, t('audio.stop'));
        setText(status, t('audio.making'));
        try {
            const {url} = await load(signal);
            if (!signal.aborted) {
                play(url);
            }
        } catch (error) {
            if (!signal.aborted) {
                setText(status, textOf(error));
            }
        }
        if (!signal.aborted) {
            finish();
        }
    }

    function finish() {
        loading = null;
        setText(button, t('audio.listen'));
    }

    function play(url) {
        setText(status, '');
        const audio = h('audio', {controls: true, preload: 'auto', src: url, 'aria-label': label});
        audio.addEventListener('error', () => setText(status, t('audio.unplayable')));
        replace(sound, audio);
        // A browser may want another click before it plays; the controls are there for it.
        audio.play().catch(() => {});
    }

    /// Removes the sound, as when what it was made of has changed.
    function clear() {
        loading?.abort();
        sound.querySelector('audio')?.pause();
        replace(sound);
        setText(status, '');
        finish();
    }

    return {element, clear, setEnabled: (isEnabled) => set(button, 'disabled', !isEnabled)};
}
