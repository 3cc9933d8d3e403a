// SPDX-License-Identifier: Apache-2.0
// What an operator has composed, as a value, and as the body of a request.

/// A composition without content.
export function emptyDraft() {
    return {
        zones: [],
        audio: 'texts',  // or 'items', 'recording', 'upload', 'none'
        texts: [''],
        voice: null,  // {language, voice}; null: the server's first
        items: [],
        repeat: 1,
        recording: '',
        upload: null,  // as the gateway has answered
        hasDisplay: false,
        template: '',
        variables: [['', '']],
        validity: 30,
        priority: 500,
        isRelative: false,
        preChime: 0,
        postChime: 0,
        gain: null,  // dB; null: the server's own
    };
}

const audioParts = {
    none: () => ({}),
    texts: (draft) => ({texts: draft.texts.filter((text) => text.trim()), ...draft.voice}),
    items: (draft) => ({items: draft.items, repeat: draft.repeat}),
    recording: (draft) => ({recording: draft.recording}),
    upload: (draft) => ({upload: draft.upload?.id}),
};

function displayPart(draft) {
    const variables = draft.variables.filter(([key]) => key);
    return {display: {template: draft.template, variables, validity: draft.validity}};
}

/// The body of the request.
export function requestOf(draft) {
    return {
        zones: draft.zones,
        ...audioParts[draft.audio](draft),
        ...(draft.hasDisplay ? displayPart(draft) : {}),
        priority: draft.priority,
        ...(draft.isRelative ? {relative: true} : {}),
        ...(draft.preChime ? {preChime: draft.preChime} : {}),
        ...(draft.postChime ? {postChime: draft.postChime} : {}),
        ...(draft.gain === null ? {} : {gain: draft.gain}),
    };
}

const hasAudio = {
    none: () => false,
    texts: (draft) => draft.texts.some((text) => text.trim()),
    items: (draft) => draft.items.length > 0,
    recording: (draft) => draft.recording !== '',
    upload: (draft) => draft.upload !== null,
};

/// Why the composition cannot be played yet: the key of a text; null when it can.
export function whatIsMissing(draft) {
    if (draft.zones.length === 0) {
        return 'announce.missing.zones';
    }
    if (draft.hasDisplay && !draft.template) {
        return 'announce.missing.template';
    }
    if (draft.audio !== 'none' && !hasAudio[draft.audio](draft)) {
        return `announce.missing.${draft.audio}`;
    }
    return draft.audio === 'none' && !draft.hasDisplay ? 'announce.missing.content' : null;
}

const longestTitle = 60;

export function shortened(text) {
    return text.length > longestTitle ? `${text.slice(0, longestTitle)}…` : text;
}

/// What the composition is called in lists; `dictionary` has the texts of items where the server lists them.
export function titleOf(draft, dictionary = null) {
    const textOf = (item) => dictionary?.find((entry) => entry.item === item)?.text ?? String(item);
    const audio = {
        none: () => draft.template,
        texts: () => draft.texts.find((text) => text.trim()) ?? '',
        items: () => draft.items.map(textOf).join(', '),
        recording: () => draft.recording,
        upload: () => draft.upload?.name ?? '',
    }[draft.audio]();
    return shortened(audio);
}
