// SPDX-License-Identifier: Apache-2.0

import {h} from '../dom.js';
import {t} from '../i18n.js';

export default {
    id: 'schedules',
    titleKey: 'schedules.title',
    icon: 'schedules',
    roles: ['operator', 'monitor'],
    mount(root) {
        root.append(h('p', {}, t('schedules.title')));
        return () => {};
    },
};
