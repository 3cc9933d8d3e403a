// SPDX-License-Identifier: Apache-2.0

import {h} from '../dom.js';
import {t} from '../i18n.js';

export default {
    id: 'health',
    titleKey: 'health.title',
    icon: 'health',
    roles: ['operator', 'monitor'],
    mount(root) {
        root.append(h('p', {}, t('health.title')));
        return () => {};
    },
};
