// SPDX-License-Identifier: Apache-2.0
// When a schedule runs: the part of its editor for dates, times and days.

import {h} from '../dom.js';
import {t} from '../i18n.js';
import {field, numberField} from './announceParts.js';
import {momentOf, setMoment} from './schedulesModel.js';
import {weekdayName} from './schedulesText.js';

/// `onChange(part)` is called with what is changed, when it is valid.
export function timesEditor({definition, onChange}) {
    const moments = ['start', 'end'].flatMap((which) => {
        const moment = momentOf(definition, which);
        const take = () => {
            if (date.validity.valid && time.validity.valid) {
                onChange(setMoment({}, which, {date: date.value, time: time.value}));
            }
        };
        const date = h('input', {type: 'date', required: true, min: '1970-01-01', max: '9999-12-31', value: moment.date,
            on: {input: take}});
        const time = h('input', {type: 'time', required: true, value: moment.time, on: {input: take}});
        return [field(t(`schedules.${which}Date`), date), field(t(`schedules.${which}Time`), time)];
    });
    const every = numberField(t('schedules.frequency'), definition.frequency,
        {min: 0, max: 1440, note: t('schedules.frequencyNote')}, (frequency) => onChange({frequency}));
    const days = [0, 1, 2, 3, 4, 5, 6].map((day) => h('label', {class: 'check'},
        h('input', {type: 'checkbox', checked: (definition.dayMask & (1 << day)) !== 0,
            'aria-label': weekdayName(day, 'long'),
            on: {change: () => onChange({dayMask: definition.dayMask ^ (1 << day)})}}),
        h('span', {}, weekdayName(day))));
    return [h('div', {class: 'option-grid'}, moments, every),
        h('fieldset', {class: 'days'}, h('legend', {}, t('schedules.days')), days)];
}
