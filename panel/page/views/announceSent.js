// SPDX-License-Identifier: Apache-2.0
// Follows the announcements that this page has sent, also while another view is open.

import {path} from '../api.js';
import {isWithin} from '../widgets/zoneTile.js';

const mostKept = 20;
const pause = 300;  // between two looks at one announcement

/// What the gateway knows of each announcement of this page, the newest first.
export class SentAnnouncements {
    /// Called when something has changed, with the announcement: {requestId, state, reason, parts,
    /// zones, isOver, title, problem}.
    onChange = null;

    #api;
    #sent = new Map();
    #end;

    constructor(api, store) {
        this.#api = api;
        this.#end = store.subscribe(['announcements', 'zones', 'status'], (changes) => {
            for (const one of this.#sent.values()) {
                if (!one.isOver && this.#concerns(one, changes)) {
                    this.#look(one);
                }
            }
        });
    }

    all() {
        return [...this.#sent.values()].reverse();
    }

    /// `answer` is what the gateway has answered to the request.
    add(answer, zones, title) {
        const one = {parts: [], reason: '', isOver: false, ...answer, title,
            zones: zones.map((id) => ({id, isPlaying: false})), problem: null, isLooking: false, isDue: false};
        this.#sent.set(one.requestId, one);
        while (this.#sent.size > mostKept) {
            this.#sent.delete(this.#sent.keys().next().value);
        }
        this.onChange?.(one);
        this.#look(one);
        return one;
    }

    forget(requestId) {
        this.#sent.delete(requestId);
    }

    close() {
        this.#end();
        this.#sent.clear();
    }

    #concerns(one, changes) {
        const zones = changes.get('zones');
        return changes.has('announcements') || changes.has('status') || zones === null
            || [...zones ?? []].some((zone) => one.zones.some(({id}) => isWithin(zone, id)));
    }

    async #look(one) {
        if (one.isLooking) {
            one.isDue = true;
            return;
        }
        one.isLooking = true;
        one.isDue = false;
        try {
            Object.assign(one, await this.#api.get(path`/announcements/${one.requestId}`), {problem: null});
        } catch (error) {
            one.problem = error;
            one.isOver ||= error.code === 'not-found';
        }
        this.onChange?.(one);
        setTimeout(() => {
            one.isLooking = false;
            if (one.isDue && this.#sent.has(one.requestId)) {
                this.#look(one);
            }
        }, pause);
    }
}
