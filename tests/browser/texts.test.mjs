// SPDX-License-Identifier: Apache-2.0
// Every language has every text that the page uses, with the same placeholders.

import assert from 'node:assert/strict';
import {readFileSync, readdirSync} from 'node:fs';
import path from 'node:path';
import test from 'node:test';

import {languages} from '../../panel/page/i18n.js';

const page = new URL('../../panel/page/', import.meta.url).pathname;
const english = languages.en.texts;

const forms = (text) => (typeof text === 'string' ? [text] : Object.values(text));
const placeholders = (text) => [...new Set(forms(text).join(' ').match(/\{\w+\}/g) ?? [])].sort();

function sources(folder) {
    return readdirSync(folder, {withFileTypes: true}).flatMap((entry) => {
        const place = path.join(folder, entry.name);
        return entry.isDirectory() ? (entry.name === 'texts' ? [] : sources(place))
            : place.endsWith('.js') ? [readFileSync(place, 'utf8')] : [];
    });
}

test('languages have the same texts and placeholders', () => {
    for (const {texts, name} of Object.values(languages)) {
        assert.deepEqual(Object.keys(texts).sort(), Object.keys(english).sort(), name);
        for (const [key, text] of Object.entries(texts)) {
            assert.deepEqual(placeholders(text), placeholders(english[key]), `${name} ${key}`);
            assert.ok(forms(text).every((form) => form.trim() === form && form !== ''), `${name} ${key}`);
        }
    }
});

test('texts are translated', () => {
    const same = Object.entries(english).filter(([key, text]) => forms(text).some((form) =>
        forms(languages.de.texts[key]).includes(form) && /[a-z]{4}/i.test(form.replace(/\{\w+\}/g, ''))));
    assert.deepEqual([...new Set(same.map(([, text]) => text.replace(/ ?\{\w+\}/g, '')))].sort(), ['Filter', 'Live', 'Name', 'Text', 'Variable']);
});

test('the page names no text that is missing, and no text is unused', () => {
    const code = sources(page).join('\n');
    const literal = new Set([...code.matchAll(/'([a-zA-Z]+\.[\w.-]+)'/g)].map(([, key]) => key));
    const prefixes = [...code.matchAll(/`([a-zA-Z]+\.(?:[\w-]+\.)*\w*)\$\{/g)].map(([, prefix]) => prefix);
    const missing = [...code.matchAll(/\bt\(\s*'([^']+)'/g)].map(([, key]) => key).filter((key) => !(key in english));
    assert.deepEqual(missing, []);
    const unused = Object.keys(english).filter((key) => !literal.has(key)
        && !prefixes.some((prefix) => key.startsWith(prefix)));
    assert.deepEqual(unused, []);
});
