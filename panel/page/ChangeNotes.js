// SPDX-License-Identifier: Apache-2.0
// Which records have changed since the last frame, for those who display them.

/// Calls a function once before the next frame, and also while the page is hidden, when there are none.
function beforeNextFrame(work) {
    if (document.hidden) {
        setTimeout(work, 100);
    } else {
        requestAnimationFrame(work);
    }
}

export class ChangeNotes {
    #subscribers = new Set();
    #changes = new Map();  // by kind: the changed keys, null for all
    #isDue = false;

    /// As Store.subscribe().
    subscribe(kinds, onChanges) {
        const subscriber = {kinds: new Set(kinds), onChanges};
        this.#subscribers.add(subscriber);
        return () => this.#subscribers.delete(subscriber);
    }

    /// Notes a change; `key` null for all.
    add(kind, key) {
        if (key === null) {
            this.#changes.set(kind, null);
        } else if (!this.#changes.has(kind)) {
            this.#changes.set(kind, new Set([key]));
        } else {
            this.#changes.get(kind)?.add(key);
        }
        if (!this.#isDue) {
            this.#isDue = true;
            beforeNextFrame(() => this.#notify());
        }
    }

    #notify() {
        this.#isDue = false;
        const changes = this.#changes;
        this.#changes = new Map();
        for (const {kinds, onChanges} of [...this.#subscribers]) {
            if ([...changes.keys()].some((kind) => kinds.has(kind))) {
                onChanges(changes);
            }
        }
    }
}
