// SPDX-License-Identifier: Apache-2.0
// Requests to the gateway. What fails is thrown as an ApiError.

export const prefix = '/api/v1';

/// A random text for identifiers; crypto.randomUUID exists only on https and loopback.
export function randomId() {
    const bytes = crypto.getRandomValues(new Uint8Array(16));
    return Array.from(bytes, (byte) => byte.toString(16).padStart(2, '0')).join('');
}

let page = null;

/// Names this page among those of its session.
export function pageId() {
    page ??= randomId();
    return page;
}

/// A refusal. `code` and `text` are the gateway's. This page's own codes are for a gateway that does not
/// answer: `unreachable` to an operation, which may have been carried out, else `no-answer`. `details` has what the error has beside them (`suggestions`, `holder`, ...).
export class ApiError extends Error {
    constructor(status, code, text, details = {}, retryAfter = null) {
        super(text);
        this.status = status;
        this.code = code;
        this.text = text;
        this.details = details;
        this.retryAfter = retryAfter;  // seconds, of `throttled`
    }

    /// Whether the operation may have been done all the same.
    get outcomeUnknown() {
        return ['timed-out', 'connection-lost', 'unreachable'].includes(this.code);
    }
}

/// A path with its parts encoded: path`/zones/${name}/sinks`.
export function path(texts, ...parts) {
    return texts.reduce((all, text, i) => all + encodeURIComponent(parts[i - 1]) + text);
}

export function withQuery(where, query = {}) {
    const given = Object.entries(query).filter(([, value]) => value !== null && value !== undefined
        && value !== '');
    return given.length === 0 ? where : `${where}?${new URLSearchParams(given)}`;
}

async function errorOf(response) {
    let error = {};
    try {
        error = (await response.json()).error ?? {};
    } catch {
        // A proxy has answered in the gateway's place.
    }
    const {code = 'internal', text = `HTTP ${response.status}`, ...details} = error;
    const retryAfter = Number(response.headers.get('Retry-After')) || null;
    return new ApiError(response.status, code, text, details, retryAfter);
}

export class Api {
    csrf = '';
    /// Called when the session is over.
    onLoggedOut = () => {};

    /// Reads; `query` is an object, members without a value are left out.
    get(where, {query, signal} = {}) {
        return this.#send('GET', withQuery(where, query), {signal});
    }

    /// Asks with a body what changes nothing, as a dry run.
    ask(where, body, {signal} = {}) {
        return this.#send('POST', where, {body, signal});
    }

    /// An operation: one user action. It has one Idempotency-Key however often it is sent, so that it
    /// is carried out once. When the gateway does not answer it is sent again twice; the error has
    /// `retry()` then, which sends it once more under the same key. `body` is an object or a Blob.
    async operate(method, where, body, {query, signal, key = randomId()} = {}) {
        const send = () => this.#send(method, withQuery(where, query), {body, signal, key});
        for (const pause of [300, 1500, null]) {
            try {
                return await send();
            } catch (error) {
                if (error.code !== 'unreachable' || pause === null) {
                    error.retry = () => this.operate(method, where, body, {query, signal, key});
                    throw error;
                }
                await new Promise((resolve) => { setTimeout(resolve, pause); });
            }
        }
        return null;
    }

    /// Who is logged in; keeps the session's CSRF token.
    async session() {
        return this.#keep(await this.get('/session'));
    }

    async logIn(user, password) {
        return this.#keep(await this.#send('POST', '/session', {body: {user, password}}));
    }

    async logOut() {
        await this.#send('DELETE', '/session', {});
    }

    #keep(session) {
        this.csrf = session.csrf ?? '';
        return session;
    }

    async #send(method, where, {body, signal, key}, again = false) {
        const headers = {'X-Page': pageId(), 'Accept': 'application/json'};
        if (method !== 'GET') {
            headers['X-CSRF-Token'] = this.csrf;
        }
        if (key) {
            headers['Idempotency-Key'] = key;
        }
        const isBlob = body instanceof Blob;
        if (body !== undefined && body !== null) {
            headers['Content-Type'] = isBlob ? 'audio/wav' : 'application/json';
        }
        let response;
        try {
            response = await fetch(prefix + where, {method, headers, signal, cache: 'no-store',
                body: isBlob ? body : body && JSON.stringify(body)});
        } catch (error) {
            if (error.name === 'AbortError') {
                throw error;
            }
            throw new ApiError(0, key ? 'unreachable' : 'no-answer', String(error.message));
        }
        if (response.ok) {
            const isJson = (response.headers.get('Content-Type') ?? '').includes('json');
            return response.status === 204 || !isJson ? null : response.json();
        }
        const error = await errorOf(response);
        if (error.code === 'csrf' && !again) {
            // Another page of this browser has logged in again.
            await this.session();
            return this.#send(method, where, {body, signal, key}, true);
        }
        if (error.code === 'not-logged-in') {
            this.onLoggedOut();
        }
        throw error;
    }
}
