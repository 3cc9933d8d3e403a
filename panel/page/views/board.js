// SPDX-License-Identifier: Apache-2.0

import {h} from '../dom.js';
import {t} from '../i18n.js';

export default {
    id: 'board',
    titleKey: 'board.title',
    icon: 'board',
    roles: ['operator', 'monitor'],
    mount(root) {
        root.append(h('p', {}, t('board.title')));
        return () => {};
    },
};
