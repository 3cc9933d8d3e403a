// SPDX-License-Identifier: Apache-2.0
// The zones of the last announcements from this browser.

import {choose, setting} from '../settings.js';

const name = 'recentZones';
const mostKept = 6;

const isList = (value) => Array.isArray(value) && value.length > 0 && value.every((one) => typeof one === 'string');

/// Lists of zones, the latest first.
export function recentZones() {
    try {
        const kept = JSON.parse(setting(name) ?? '[]');
        return Array.isArray(kept) ? kept.filter(isList).slice(0, mostKept) : [];
    } catch {
        return [];
    }
}

export function noteZones(zones) {
    const key = JSON.stringify(zones);
    const others = recentZones().filter((one) => JSON.stringify(one) !== key);
    choose(name, JSON.stringify([zones, ...others].slice(0, mostKept)));
}
