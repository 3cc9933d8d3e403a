// SPDX-License-Identifier: Apache-2.0
// Requests to the gateway. What fails is thrown as an ApiError.

export const prefix = '/api/v1';

/// A random text for identifiers; crypto.randomUUID exists only on https and loopback.
function randomId() {
    const bytes = crypto.getRandomValues(new Uint8Array(16));
    return Array.from(bytes, (byte) => byte.toString(16).padStart(2, '0')).join('');
}

/// A request ends without an answer after so long. The gateway itself waits for the audio server for 10 s.
const answerLimit = 15000;
/// An upload has this time more for each KiB, in ms: the gateway accepts at least 16 KiB/s.
const timeForKib = 63;

let page = null;

/// Names this page among those of its session; the same after it is loaded again.
export function pageId() {
    if (page === null) {
        try {
            page = sessionStorage.getItem('page') ?? randomId();
            sessionStorage.setItem('page', page);
        } catch {
            page ??= randomId();  // there is no storage
        }
    }
    return page;
}

/// A refusal. `code` and `text` are the gateway's. This page's own codes are for a gateway that does not
/// answer: `unreachable` to an operation, which may have been carried out, else `no-answer`. `details` has
/// what the error has beside them (`suggestions`, `holder`, ...).
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

/// A proxy may answer in the gateway's place, then nothing is known of the request: `codeWithoutAnswer`.
function errorOf(response, answer, codeWithoutAnswer) {
    const isProxy = !answer?.error && [502, 503, 504].includes(response.status);
    const {code = isProxy ? codeWithoutAnswer : 'internal', text = `HTTP ${response.status}`, ...details}
        = answer?.error ?? {};
    const retryAfter = Number(response.headers.get('Retry-After')) || null;
    return new ApiError(response.status, code, text, details, retryAfter);
}

/// Resolves to {response, answer} when the answer is complete, `answer` null when it has no JSON. Fails when
/// that takes longer than `limit` ms.
async function fetchAnswer(address, {signal, ...options}, limit) {
    const abort = new AbortController();
    const timer = setTimeout(() => abort.abort(new Error(`no answer within ${limit} ms`)), limit);
    const forward = () => abort.abort(signal.reason);
    signal?.addEventListener('abort', forward);
    try {
        signal?.throwIfAborted();
        const response = await fetch(address, {...options, signal: abort.signal});
        const isJson = (response.headers.get('Content-Type') ?? '').includes('json');
        return {response, answer: isJson && response.status !== 204 ? await response.json() : null};
    } finally {
        clearTimeout(timer);
        signal?.removeEventListener('abort', forward);
    }
}

export class Api {
    csrf = '';
    /// Whose session it is; null without one.
    user = null;
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
    async operate(method, where, body, {query, signal, key = randomId(), user = this.user} = {}) {
        const send = () => this.#send(method, withQuery(where, query), {body, signal, key, user});
        for (const pause of [300, 1500, null]) {
            try {
                return await send();
            } catch (error) {
                if (error.code !== 'unreachable' || pause === null) {
                    error.retry = () => this.operate(method, where, body, {query, signal, key, user});
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
        this.user = session.user ?? null;
        return session;
    }

    /// `user` is who has asked for an operation: it is not sent in the session of another one.
    async #send(method, where, {body, signal, key, user}, again = false) {
        if (user !== undefined && user !== this.user) {
            throw new ApiError(401, 'not-logged-in', 'another user has logged in');
        }
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
        const limit = answerLimit + (isBlob ? body.size / 1024 * timeForKib : 0);
        const codeWithoutAnswer = key ? 'unreachable' : 'no-answer';
        const options = {method, headers, signal, cache: 'no-store',
            body: isBlob ? body : body && JSON.stringify(body)};
        let response;
        let answer;
        try {
            ({response, answer} = await fetchAnswer(prefix + where, options, limit));
        } catch (error) {
            if (signal?.aborted) {
                throw error;
            }
            throw new ApiError(0, codeWithoutAnswer, String(error.message));
        }
        if (response.ok) {
            return answer;
        }
        const error = errorOf(response, answer, codeWithoutAnswer);
        if (error.code === 'csrf' && !again) {
            // Another page of this browser has logged in again, perhaps another user.
            const before = this.user;
            const session = await this.session();
            if (session.loggedIn && this.user === before) {
                return this.#send(method, where, {body, signal, key, user}, true);
            }
            this.onLoggedOut();
            throw new ApiError(401, 'not-logged-in', 'another user has logged in');
        }
        if (error.code === 'not-logged-in') {
            this.onLoggedOut();
        }
        throw error;
    }
}
