// SPDX-License-Identifier: Apache-2.0

import {h} from '../dom.js';
import {t} from '../i18n.js';

export default {
    id: 'live',
    titleKey: 'live.title',
    icon: 'live',
    roles: ['operator', 'monitor'],
    mount(root) {
        root.append(h('p', {}, t('live.title')));
        return () => {};
    },
};
