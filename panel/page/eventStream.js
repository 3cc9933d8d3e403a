// SPDX-License-Identifier: Apache-2.0
// Server-sent events over fetch. Unlike an EventSource it reports the status of a refusal and notices a
// connection that has become quiet: the gateway sends at least a comment every 5 s.

import {pageId, prefix} from './api.js';

const longestSilence = 12000;

/// Splits what arrives into events and calls `onEvent(name, data, id)` for each.
export function eventParser(onEvent) {
    let rest = '';
    let name = '';
    let data = [];
    let id = null;
    const line = (text) => {
        if (text === '') {
            if (data.length > 0) {
                onEvent(name || 'message', data.join('\n'), id);
            }
            name = '';
            data = [];
            return;
        }
        const colon = text.indexOf(':');
        const field = colon < 0 ? text : text.slice(0, colon);
        const value = colon < 0 ? '' : text.slice(colon + (text[colon + 1] === ' ' ? 2 : 1));
        if (field === 'event') {
            name = value;
        } else if (field === 'data') {
            data.push(value);
        } else if (field === 'id') {
            id = value;
        }
    };
    return (text) => {
        let from = rest.length;
        rest += text;
        let begin = 0;
        for (let end = rest.indexOf('\n', from); end >= 0; end = rest.indexOf('\n', from)) {
            line(rest.slice(begin, rest[end - 1] === '\r' ? end - 1 : end));
            begin = end + 1;
            from = begin;
        }
        rest = rest.slice(begin);
    };
}

/// Reads a stream until it ends; `onEnd(problem)` is called once: `problem` has `status` (0 without an
/// answer) and `code`. Returns a function that closes it, after which nothing is called.
export function openEventStream(where, {lastId = null, onOpen = () => {}, onEvent, onEnd}) {
    const abort = new AbortController();
    let isClosed = false;
    let timer = null;
    const close = () => {
        isClosed = true;
        clearTimeout(timer);
        abort.abort();
    };
    const end = (problem) => {
        if (!isClosed) {
            close();
            onEnd(problem);
        }
    };
    const alive = () => {
        clearTimeout(timer);
        timer = setTimeout(() => end({status: 0, code: 'unreachable'}), longestSilence);
    };
    const headers = {'Accept': 'text/event-stream', 'X-Page': pageId()};
    if (lastId !== null) {
        headers['Last-Event-ID'] = lastId;
    }
    const read = async () => {
        alive();
        const response = await fetch(prefix + where, {headers, signal: abort.signal, cache: 'no-store'});
        if (!response.ok) {
            const body = await response.json().catch(() => ({}));
            end({status: response.status, code: body.error?.code ?? 'internal', text: body.error?.text});
            return;
        }
        onOpen();
        const parse = eventParser((...event) => isClosed || onEvent(...event));
        const reader = response.body.pipeThrough(new TextDecoderStream()).getReader();
        for (let part = await reader.read(); !part.done; part = await reader.read()) {
            alive();
            parse(part.value);
        }
        end({status: 0, code: 'unreachable'});
    };
    read().catch((error) => {
        if (error.name !== 'AbortError' && error.name !== 'TypeError') {
            console.error(error);
        }
        end({status: 0, code: 'unreachable'});
    });
    return close;
}
