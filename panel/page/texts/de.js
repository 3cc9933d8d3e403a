// SPDX-License-Identifier: Apache-2.0
// The German texts. tests/browser/texts.test.mjs checks that every language has the same ones.

import announce from './de/announce.js';
import board from './de/board.js';
import health from './de/health.js';
import history from './de/history.js';
import live from './de/live.js';
import login from './de/login.js';
import schedules from './de/schedules.js';
import frame from './de/frame.js';

export default {...frame, ...board, ...announce, ...live, ...schedules, ...health, ...history, ...login};
