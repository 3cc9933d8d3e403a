// SPDX-License-Identifier: Apache-2.0
// Where a long list has its entries, and where keys lead.

import assert from 'node:assert/strict';
import test from 'node:test';

import {ListLayout} from '../../panel/page/ListLayout.js';

// Two columns: A has three items in two rows, B one.
//    0 A
//    1 2
//    3
//    4 B
//    5
const entries = [{heading: 'A'}, {key: 1}, {key: 2}, {key: 3}, {heading: 'B'}, {key: 5}];
const layout = new ListLayout(entries, 308, {itemHeight: 50, headingHeight: 40, minItemWidth: 100});

test('entries have their places', () => {
    assert.deepEqual(layout.tops, [0, 40, 40, 98, 156, 196]);
    assert.deepEqual(layout.columns, [0, 0, 1, 0, 0, 0]);
    assert.equal(layout.height, 246);
    assert.equal(layout.cellWidth, 150);
    // An item that begins above and ends below the edge is in sight.
    assert.deepEqual(layout.between(89, 156).slice(0, 2), [1, 5]);
    assert.deepEqual(layout.extent(1), [0, 90]);
    assert.deepEqual(layout.extent(3), [98, 148]);
    assert.equal(new ListLayout([], 308, {itemHeight: 50, headingHeight: 40, minItemWidth: 100}).height, 0);
});

test('keys lead from item to item and stop at the ends', () => {
    const moves = {ArrowUp: [1, 2, 1, 3], ArrowDown: [3, 3, 5, 5], ArrowLeft: [1, 1, 2, 3],
        ArrowRight: [2, 3, 5, 5], Home: [1, 1, 1, 1], End: [5, 5, 5, 5], PageDown: [5, 5, 5, 5], a: []};
    for (const [key, expected] of Object.entries(moves)) {
        const found = [1, 2, 3, 5].map((from) => layout.neighbour(from, key, 130));
        assert.deepEqual(found, key === 'a' ? Array(4).fill(undefined) : expected, key);
    }
});
