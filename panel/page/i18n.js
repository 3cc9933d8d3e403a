// SPDX-License-Identifier: Apache-2.0
// Texts in the language of the user. A text is a string with {placeholders}, or one for each plural
// form of {n}: {one: '{n} zone', other: '{n} zones'}.

import en from './texts/en.js';
import de from './texts/de.js';

export const languages = {
    en: {name: 'English', locale: 'en-GB', texts: en},
    de: {name: 'Deutsch', locale: 'de-DE', texts: de},
};

let current = 'en';
let plurals = new Intl.PluralRules('en');

/// The language for a user who has chosen none: the browser's first one that is there.
export function preferredLanguage(wanted = navigator.languages) {
    const known = wanted.map((tag) => tag.slice(0, 2).toLowerCase());
    return known.find((tag) => tag in languages) ?? 'en';
}

export function setLanguage(tag) {
    current = tag in languages ? tag : 'en';
    plurals = new Intl.PluralRules(current);
    document.documentElement.lang = current;
}

export function language() {
    return current;
}

/// For Intl.
export function locale() {
    return languages[current].locale;
}

export function hasText(key) {
    return key in languages[current].texts;
}

/// The text of a key with its placeholders filled.
export function t(key, values = {}) {
    let text = languages[current].texts[key];
    if (text === undefined) {
        throw new Error(`text '${key}' is not known`);
    }
    if (typeof text === 'object') {
        text = text[plurals.select(values.n)] ?? text.other;
    }
    return text.replace(/\{(\w+)\}/g, (all, name) => {
        const value = values[name];
        return typeof value === 'number' ? value.toLocaleString(locale()) : String(value ?? '');
    });
}
