// SPDX-License-Identifier: Apache-2.0
// Where the entries of a VirtualList are: items in columns, headings over the whole width.

export const gap = 8;  // pixels

/// The first index whose value is above a limit, of a list that only grows.
function firstAbove(values, limit) {
    let low = 0;
    let high = values.length;
    while (low < high) {
        const middle = (low + high) >> 1;
        if (values[middle] > limit) {
            high = middle;
        } else {
            low = middle + 1;
        }
    }
    return low;
}

export function isHeading(entry) {
    return !('key' in entry);
}

export class ListLayout {
    cellWidth;
    height = 0;
    tops = [];      // by entry
    columns = [];   // by entry
    #rowOf = [];    // by entry, -1 for a heading
    #rows = [];     // lists of the indices of items
    #itemHeight;
    #headingHeight;

    /// `sizes` are {itemHeight, headingHeight, minItemWidth} in pixels.
    constructor(entries, width, {itemHeight, headingHeight, minItemWidth}) {
        this.#itemHeight = itemHeight;
        this.#headingHeight = headingHeight;
        const count = Math.max(1, Math.floor((width + gap) / (minItemWidth + gap)));
        this.cellWidth = Math.floor((width - gap * (count - 1)) / count);
        let column = 0;
        let top = 0;
        entries.forEach((entry, i) => {
            if (column === count || (isHeading(entry) && column > 0)) {
                top += itemHeight + gap;
                column = 0;
            }
            this.tops.push(top);
            this.columns.push(column);
            if (isHeading(entry)) {
                top += headingHeight;
                this.#rowOf.push(-1);
                return;
            }
            if (column === 0) {
                this.#rows.push([]);
            }
            this.#rows.at(-1).push(i);
            this.#rowOf.push(this.#rows.length - 1);
            column += 1;
        });
        this.height = top + (column > 0 ? itemHeight : 0);
    }

    /// [first, end] of the entries between two heights.
    between(top, bottom) {
        const tallest = Math.max(this.#itemHeight, this.#headingHeight);
        return [firstAbove(this.tops, top - tallest), firstAbove(this.tops, bottom)];
    }

    /// From where to where an item has to be in sight: with the heading above its row.
    extent(index) {
        const top = this.tops[index];
        const above = this.#rowOf[index - 1] === -1 ? this.#headingHeight : 0;
        return [top - above, top + this.#itemHeight];
    }

    /// The item that a key leads to from another one, undefined for other keys. `height` is that of a page.
    neighbour(index, key, height) {
        const row = this.#rowOf[index];
        const page = Math.max(1, Math.floor(height / (this.#itemHeight + gap)));
        switch (key) {
        case 'ArrowUp': return this.#inRow(row - 1, index);
        case 'ArrowDown': return this.#inRow(row + 1, index);
        case 'ArrowLeft': return this.#beside(index, -1);
        case 'ArrowRight': return this.#beside(index, 1);
        case 'PageUp': return this.#inRow(row - page, index);
        case 'PageDown': return this.#inRow(row + page, index);
        case 'Home': return this.#rows[0][0];
        case 'End': return this.#rows.at(-1).at(-1);
        default: return undefined;
        }
    }

    #inRow(row, index) {
        const items = this.#rows[Math.min(Math.max(row, 0), this.#rows.length - 1)];
        return items[Math.min(this.columns[index], items.length - 1)];
    }

    #beside(index, step) {
        const items = this.#rows.flat();
        return items[Math.min(Math.max(items.indexOf(index) + step, 0), items.length - 1)];
    }
}
