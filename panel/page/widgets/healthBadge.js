// SPDX-License-Identifier: Apache-2.0
// The health of a record: icon, text and colour.

import {h, replace, set} from '../dom.js';
import {isFaulty} from '../Health.js';
import {t} from '../i18n.js';
import {icon} from '../icons.js';

/// An element whose `update(level, text)` displays a level; the text is that of the level without one.
export function healthBadge() {
    let last = '';
    const element = h('span', {class: 'badge'});
    return {
        element,
        update(level, text = t(`health.${level}`)) {
            if (last !== `${level} ${text}`) {
                last = `${level} ${text}`;
                set(element, 'data-level', level);
                replace(element, icon(isFaulty(level) ? 'warning' : 'check'), text);
            }
        },
    };
}
