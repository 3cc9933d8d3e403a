// SPDX-License-Identifier: Apache-2.0
// The composition of a user: it outlives the view and a reload of the page, but not its tab.

import {emptyDraft} from './announceModel.js';

const key = 'announcement';

/// What the user has composed in this tab; an empty composition where there is none.
export function keptDraft(user) {
    try {
        const kept = JSON.parse(sessionStorage.getItem(key));
        return {...emptyDraft(), ...(kept?.user === user ? kept.draft : {})};
    } catch {
        return emptyDraft();
    }
}

/// An uploaded file itself is not kept: the gateway has it.
export function keepDraft(user, draft) {
    try {
        sessionStorage.setItem(key, JSON.stringify({user, draft}));
    } catch {
        // Without storage a reload begins a new one.
    }
}
