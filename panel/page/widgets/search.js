// SPDX-License-Identifier: Apache-2.0
// Searches of lists: every word has to be somewhere in the texts of an entry.

/// The words that are searched for, none in an empty search.
export function wordsOf(input) {
    return input.value.toLocaleLowerCase().split(/\s+/).filter(Boolean);
}

export function matches(words, ...texts) {
    const all = texts.join('\n').toLocaleLowerCase();
    return words.every((word) => all.includes(word));
}
