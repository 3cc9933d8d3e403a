// SPDX-License-Identifier: Apache-2.0
// The views in the order of the navigation.
//
// A view exports {id, titleKey, icon, roles, mount(root, app, parts)}. `roles` has the roles that see it.
// `mount` builds it in `root` and returns a function that ends it. `parts` are what follows the id in the
// address: '#board/Platform%201' is ['Platform 1']; `update(parts)` of what mount returns, when it is an
// object {unmount, update}, is called when only they change.

import announce from './views/announce.js';
import board from './views/board.js';
import health from './views/health.js';
import history from './views/history.js';
import live from './views/live.js';
import schedules from './views/schedules.js';

export const views = [board, announce, live, schedules, health, history];
