// SPDX-License-Identifier: Apache-2.0

import {h} from '../dom.js';
import {t} from '../i18n.js';

export default {
    id: 'announce',
    titleKey: 'announce.title',
    icon: 'announce',
    roles: ['operator', 'monitor'],
    mount(root) {
        root.append(h('p', {}, t('announce.title')));
        return () => {};
    },
};
