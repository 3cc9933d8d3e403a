// SPDX-License-Identifier: Apache-2.0
// Who holds the lock of each source. The events are the same for all pages, so that the locks are read
// again when one has changed: only the answer has which locks are those of this page.

import {t} from '../i18n.js';

export class LockHolders {
    #app;
    #onChange;
    #locks = new Map();
    #isReading = false;
    #isStale = false;
    #unsubscribe;

    constructor(app, onChange) {
        this.#app = app;
        this.#onChange = onChange;
        this.#unsubscribe = app.store.subscribe(['locks', 'status'], (changes) => {
            if (changes.has('locks') || this.#locks.size === 0) {
                this.read();
            }
        });
        this.read();
    }

    unmount() {
        this.#unsubscribe();
        this.#onChange = () => {};
    }

    async read() {
        this.#isStale = true;
        if (this.#isReading) {
            return;
        }
        this.#isReading = true;
        while (this.#isStale) {
            this.#isStale = false;
            try {
                const {locks} = await this.#app.api.get('/locks');
                this.#locks = new Map(locks.map((lock) => [lock.sourceId, lock]));
                this.#onChange();
            } catch {
                // The next change, also that of the connection, reads again.
            }
        }
        this.#isReading = false;
    }

    /// 'this page', 'another page', 'another client' or null.
    heldBy(source) {
        return this.#locks.get(source)?.heldBy ?? null;
    }

    /// The holder for people.
    text(source) {
        const heldBy = this.heldBy(source);
        const user = this.#locks.get(source)?.user ?? '';
        return t({'this page': 'lock.here', 'another page': 'lock.page', 'another client': 'lock.client'}[
            heldBy] ?? 'lock.free', {user});
    }
}
