// SPDX-License-Identifier: Apache-2.0
// The type of what plays, for people.

import {hasText, t} from '../i18n.js';

const none = 7;

/// A type by its number; the server's own text for one that is not known.
export function contentType(type, text) {
    const key = `contentType.${type}`;
    return hasText(key) ? t(key) : text;
}

/// The type of an announcement's part.
export function partType(announcement) {
    return announcement.audioMessageType === none
        ? contentType(announcement.visualMessageType, announcement.visualMessageTypeText)
        : contentType(announcement.audioMessageType, announcement.audioMessageTypeText);
}
