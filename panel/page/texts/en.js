// SPDX-License-Identifier: Apache-2.0
// The English texts. tests/browser/texts.test.mjs checks that every language has the same ones.

import announce from './en/announce.js';
import board from './en/board.js';
import health from './en/health.js';
import history from './en/history.js';
import live from './en/live.js';
import login from './en/login.js';
import schedules from './en/schedules.js';
import frame from './en/frame.js';

export default {...frame, ...board, ...announce, ...live, ...schedules, ...health, ...history, ...login};
