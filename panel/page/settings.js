// SPDX-License-Identifier: Apache-2.0
// What the user has chosen in this browser. Without storage it lasts as long as the page.

const fallback = new Map();

export function setting(name) {
    try {
        return localStorage.getItem(name);
    } catch {
        return fallback.get(name) ?? null;
    }
}

/// Null forgets it.
export function choose(name, value) {
    try {
        if (value === null) {
            localStorage.removeItem(name);
        } else {
            localStorage.setItem(name, value);
        }
    } catch {
        fallback.set(name, value);
    }
}
