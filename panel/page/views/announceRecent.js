// SPDX-License-Identifier: Apache-2.0
// What the last announcements from this browser have used.

import {choose, setting} from '../settings.js';

const mostKept = 6;

/// A list that the browser keeps under a name, the latest first; `isValue(value)` is whether one may be in it.
function recentList(name, isValue) {
    const all = () => {
        try {
            const kept = JSON.parse(setting(name) ?? '[]');
            return Array.isArray(kept) ? kept.filter(isValue).slice(0, mostKept) : [];
        } catch {
            return [];
        }
    };
    return {
        all,
        note(value) {
            const key = JSON.stringify(value);
            const others = all().filter((one) => JSON.stringify(one) !== key);
            choose(name, JSON.stringify([value, ...others].slice(0, mostKept)));
        },
    };
}

const isText = (value) => typeof value === 'string' && value !== '';

export const recentZones = recentList('recentZones',
    (value) => Array.isArray(value) && value.length > 0 && value.every(isText));
export const recentTemplates = recentList('recentTemplates', isText);
