// SPDX-License-Identifier: Apache-2.0
// Asks the gateway which problems an announcement would meet, and displays them.

import {h, replace, set} from '../dom.js';
import {hasText, t} from '../i18n.js';
import {icon} from '../icons.js';
import {errorText} from '../messages.js';

const pause = 400;
const mostListed = 50;

/// In the language of the user where that has a text for it.
function problemText(problem) {
    const key = `announce.problem.${problem.code}`;
    return hasText(key) ? t(key, problem) : problem.text;
}

export class DryRun {
    /// How many problems there are: this is read out, the list is not.
    verdict = h('p', {class: 'verdict', role: 'status'});
    list = h('ul', {class: 'problems', 'aria-label': t('announce.problems')});

    #api;
    #bodyOf;
    #asking = null;
    #timer = null;  // also while the gateway is asked
    #isDue = false;
    #displayed = 'null';

    /// `bodyOf()` is the request as it is then.
    constructor(api, bodyOf) {
        this.#api = api;
        this.#bodyOf = bodyOf;
    }

    /// Asks a moment after a change, and again after the answer when there has been another one.
    ask() {
        this.#isDue = true;
        this.#timer ??= setTimeout(() => this.#askNow(), pause);
    }

    /// There is nothing to be asked.
    clear() {
        this.close();
        this.#timer = null;
        this.#display(null);
    }

    close() {
        this.#asking?.abort();
        clearTimeout(this.#timer);
    }

    async #askNow() {
        const asking = new AbortController();
        this.#asking = asking;
        this.#isDue = false;
        let problems = null;
        try {
            ({problems} = await this.#api.ask('/announcements/check', this.#bodyOf(), {signal: asking.signal}));
        } catch (error) {
            problems = [{code: '', text: errorText(error), prevents: true}];
        }
        if (!asking.signal.aborted) {
            this.#timer = null;
            this.#display(problems);
            if (this.#isDue) {
                this.ask();
            }
        }
    }

    /// What is displayed already is left, so that it is not read out again.
    #display(problems) {
        const displayed = JSON.stringify(problems);
        if (displayed === this.#displayed) {
            return;
        }
        this.#displayed = displayed;
        const all = [...problems ?? []].sort((a, b) => b.prevents - a.prevents);
        const more = all.length - mostListed;
        replace(this.verdict, problems !== null && [icon(all.length > 0 ? 'warning' : 'check'),
            all.length > 0 ? t('announce.problemCount', {n: all.length}) : t('announce.noProblem')]);
        set(this.verdict, 'class', all.length > 0 ? 'verdict problem' : 'verdict no-problem');
        replace(this.list, all.slice(0, mostListed).map((problem) => h('li', {dir: 'auto',
            class: problem.prevents ? 'problem prevents' : 'problem'}, problemText(problem))),
        more > 0 && h('li', {class: 'problem'}, t('announce.moreProblems', {n: more})));
        set(this.list, 'tabindex', all.length > 0 ? 0 : null);
    }
}
