// SPDX-License-Identifier: Apache-2.0

import {h} from '../dom.js';
import {t} from '../i18n.js';

export default {
    id: 'login',
    titleKey: 'login.title',
    icon: 'login',
    roles: ['operator', 'monitor'],
    mount(root) {
        root.append(h('p', {}, t('login.title')));
        return () => {};
    },
};
