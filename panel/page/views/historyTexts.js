// SPDX-License-Identifier: Apache-2.0
// What the audit trail names, in words.

import {compareNames} from '../format.js';
import {hasText, t} from '../i18n.js';

const operations = ['play announcement', 'cancel announcement', 'cancel announcements', 'take source', 'release source',
    'set source gain', 'change zones of source', 'detach zones of source', 'set sink gain', 'switch monitoring',
    'reset sink', 'create trigger', 'activate trigger', 'deactivate trigger', 'delete trigger', 'start recording',
    'stop recording', 'play recording back', 'delete recording', 'upload audio', 'preview text', 'add schedule',
    'change schedule', 'remove schedule', 'import schedules', 'simulate trigger', 'simulate selector', 'simulate lock',
    'simulate lost renewals', 'simulate lost requests', 'simulate lost connection', 'restart simulated server'];

const outcomes = ['done', 'as-before', 'accepted', 'partly', 'failed', 'cancelled', 'pre-empted', 'refused', 'held',
    'not-found', 'ambiguous', 'bad-request', 'too-large', 'unsupported-media-type', 'too-slow', 'not-supported',
    'overloaded', 'conflict', 'not-connected', 'timed-out', 'connection-lost', 'internal', 'pending', 'unknown'];

/// The text of a name that is known, else the name.
function textOf(key, name) {
    return hasText(key) ? t(key) : name;
}

export function operationText(name) {
    return textOf(`operation.${name.replaceAll(' ', '-')}`, name);
}

export function outcomeText(name) {
    return textOf(`outcome.${name}`, name);
}

/// [name, text] of what can be chosen.
export function operationChoices() {
    return operations.map((name) => [name, operationText(name)]).sort((a, b) => compareNames(a[1], b[1]));
}

export function outcomeChoices() {
    return outcomes.map((name) => [name, outcomeText(name)]);
}

/// What an operation is done to: as the gateway names it, else what its request names.
export function targetOf(entry) {
    if (entry.target) {
        return entry.target;
    }
    try {
        const {zones, paZones, path, text} = JSON.parse(entry.request);
        return [zones ?? paZones ?? path ?? text ?? ''].flat().join(', ');
    } catch {
        return '';  // a long request is cut
    }
}
