// SPDX-License-Identifier: Apache-2.0
// What plays, for people.

import {hasText, t} from '../i18n.js';
import {sourceName} from './sourceTile.js';

const live = 0;
const items = 2;
const none = 7;

/// A type by its number; the server's own text for one that is not known.
export function contentType(type, text) {
    const key = `contentType.${type}`;
    return hasText(key) ? t(key) : text;
}

/// The content of a part in the words of the page: the name of a source, the numbers of items, or a text.
function contentWords(store, type, content) {
    if (type === live) {
        const source = store.get('sources', Number(content.replace(/^source /, '')));
        return source ? sourceName(source) : '';
    }
    return type === items ? content.replace(/^items /, '') : content;
}

/// 'audio' or 'visual', as the gateway names the part that a record is.
export function partOf(announcement) {
    return announcement.audioMessageType === none ? 'visual' : 'audio';
}

/// The type and the content of an announcement's part: "Speech: Mind the gap"
export function partLine(store, announcement) {
    const part = partOf(announcement);
    const type = announcement[`${part}MessageType`];
    return [contentType(type, announcement[`${part}MessageTypeText`]),
        contentWords(store, type, announcement.contentText ?? '')].filter(Boolean).join(': ');
}

/// "Priority 500", "Priority +5, relative"
export function priorityLine(text) {
    const [, mode, level] = /^(Absolute|Relative) (.+)$/.exec(text) ?? [];
    return mode ? t(`priority.${mode.toLowerCase()}`, {level}) : text;
}
