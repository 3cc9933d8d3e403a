// SPDX-License-Identifier: Apache-2.0

import {h} from '../dom.js';
import {t} from '../i18n.js';

export default {
    id: 'history',
    titleKey: 'history.title',
    icon: 'history',
    roles: ['operator', 'monitor'],
    mount(root) {
        root.append(h('p', {}, t('history.title')));
        return () => {};
    },
};
