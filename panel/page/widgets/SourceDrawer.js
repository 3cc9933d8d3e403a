// SPDX-License-Identifier: Apache-2.0
// A source with its lock, its zones, its gain, its level and its software triggers.

import {path} from '../api.js';
import {openDialog} from '../dialogs.js';
import {h, replace, set, setText} from '../dom.js';
import {t} from '../i18n.js';
import {icon} from '../icons.js';
import {attempt} from '../messages.js';
import {recordingEditor} from '../views/announceRecordings.js';
import {gainControl} from './gain.js';
import {healthBadge} from './healthBadge.js';
import {levelMeter} from './levelMeter.js';
import {sourceTriggers} from './sourceTriggers.js';
import {sourceZones} from './sourceZones.js';
import {isAttached, sourceName, sourceType} from './sourceTile.js';

// Analogue inputs and paging stations.
const typesWithGain = [1, 2];

export class SourceDrawer {
    #app;
    #locks;
    #id;
    #content;
    #hasZones = false;
    #whyNot = h('p', {class: 'why-not', hidden: true});
    #type = h('dd', {});
    #location = h('dd', {dir: 'auto'});
    #state = h('dd', {});
    #health = healthBadge();
    #holder = h('p', {class: 'lock-holder', role: 'status', dir: 'auto'});
    #take;
    #release;
    #gain;
    #gainSection;
    #meter;
    #zones;
    #triggers;
    #dialog;
    #isBusy = false;

    constructor(app, locks, id, onClose) {
        this.#app = app;
        this.#locks = locks;
        this.#id = id;
        const source = app.store.get('sources', id);
        this.#take = h('button', {type: 'button', class: 'primary', on: {click: () =>
            this.#lock('PUT', 'lock.taken')}}, icon('lock'), t('lock.take'));
        this.#release = h('button', {type: 'button', on: {click: () =>
            this.#lock('DELETE', 'lock.released')}}, icon('unlock'), t('lock.release'));
        this.#gain = gainControl({min: -96, max: 42, onSet: (level) => attempt(() =>
            app.api.operate('PUT', path`/sources/${id}/gain`, {level, first: false, second: false}))});
        this.#gainSection = section('source.gain', this.#gain.element);
        this.#meter = levelMeter(id);
        this.#zones = sourceZones(app, id);
        this.#triggers = sourceTriggers(app, id);
        const address = location.hash;
        const unsubscribe = app.store.subscribe(['sources', 'triggers', 'status'], (changes) => {
            this.#hasZones &&= !changes.has('sources');
            if (changes.has('triggers')) {
                this.#triggers.read();
            }
            this.fill();
        });
        this.#content = h('div', {class: 'drawer-content'},
            h('dl', {class: 'facts'},
                h('dt', {}, t('source.type')), this.#type,
                h('dt', {}, t('source.location')), this.#location,
                h('dt', {}, t('source.state')), this.#state,
                h('dt', {}, t('zone.health')), h('dd', {}, this.#health.element)),
            section('lock.title', this.#holder, h('div', {class: 'row'}, this.#take, this.#release),
                h('p', {class: 'note'}, t('lock.note'))),
            section('source.zones', this.#zones.element),
            this.#gainSection,
            section('level.title', this.#meter.element),
            section('trigger.title', this.#triggers.element),
            recordings(app));
        this.#dialog = openDialog({title: source ? sourceName(source) : t('source.number', {n: String(id)}),
            kind: 'drawer', content: [this.#whyNot, this.#content], onClose: () => {
                unsubscribe();
                this.#meter.unmount();
                this.#gain.release();
                if (location.hash === address) {
                    history.replaceState(null, '', '#live');
                }
                onClose();
            }});
        this.fill();
    }

    close() {
        this.#dialog.close();
    }

    fill() {
        const source = this.#app.store.get('sources', this.#id);
        const isUnreported = !source && this.#app.store.link().state === 'synced';
        const reason = isUnreported ? t('source.unreported') : this.#app.whyNot();
        set(this.#content, 'hidden', !source);
        setText(this.#whyNot, reason ?? '');
        set(this.#whyNot, 'hidden', reason === null);
        const heldBy = this.#locks.heldBy(this.#id);
        setText(this.#holder, this.#locks.text(this.#id));
        set(this.#take, 'disabled', reason !== null || heldBy !== null || this.#isBusy);
        set(this.#release, 'disabled', reason !== null || heldBy !== 'this page' || this.#isBusy);
        const isOthers = heldBy !== null && heldBy !== 'this page';
        this.#zones.fill(reason ?? (isOthers ? this.#holder.textContent : null));
        // The audio server lets every client set a gain; the gateway keeps its pages from each other.
        const whyNotUsed = reason ?? (heldBy === 'another page' ? this.#holder.textContent : null);
        this.#triggers.fill(reason, whyNotUsed);
        if (!source) {
            return;
        }
        if (!this.#hasZones) {
            this.#hasZones = true;
            this.#zones.read();
        }
        setText(this.#dialog.title, sourceName(source));
        setText(this.#type, sourceType(source));
        setText(this.#location, source.location);
        setText(this.#state, t(isAttached(source) ? 'source.attached' : 'source.free'));
        this.#health.update(this.#app.store.health.level('sources', source));
        set(this.#gainSection, 'hidden', !typesWithGain.includes(source.type));
        this.#gain.update(source.inputGain, sourceName(source), whyNotUsed !== null);
    }

    async #lock(method, doneKey) {
        this.#isBusy = true;
        this.fill();
        await attempt(() => this.#app.api.operate(method, path`/sources/${this.#id}/lock`), t(doneKey));
        await this.#locks.read();
        this.#isBusy = false;
        this.fill();
        // The button that was pressed is disabled now and has lost the focus.
        if (document.activeElement === document.body || document.activeElement?.disabled) {
            [this.#take, this.#release].find((button) => !button.disabled)?.focus();
        }
    }
}

function section(titleKey, ...content) {
    return h('section', {class: 'stack'}, h('h3', {}, t(titleKey)), content);
}

/// Read when the operator opens them.
function recordings(app) {
    const content = h('div', {});
    return h('section', {}, h('details', {on: {toggle: (event) => {
        if (event.target.open && !content.firstChild) {
            replace(content, recordingEditor({app, value: ''}));
        }
    }}}, h('summary', {}, t('record.title')), content));
}
