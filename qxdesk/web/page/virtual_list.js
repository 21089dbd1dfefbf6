// A list of any length of which only the visible rows exist. Rows have one height. An element that
// scrolls out of sight is used again for a row that comes into sight.

import { element } from "./dom.js";

/** Rows above and below the visible ones that are kept ready. */
const kSpare = 6;

export class VirtualList {
  /**
   * `scroller` gets a canvas as high as all rows. `createRow()` returns an empty row and
   * `drawRow(row, index)` fills it. `headHeight` is what a head that stays on top takes away;
   * `onRange()` is called when other rows may be visible.
   */
  constructor(scroller, { rowHeight, createRow, drawRow, headHeight = 0, onRange = null }) {
    this.scroller = scroller;
    this.rowHeight = rowHeight;
    this.createRow = createRow;
    this.drawRow = drawRow;
    this.headHeight = headHeight;
    this.onRange = onRange;
    this.count = 0;
    this.rows = new Map();
    this.unused = [];
    this.canvas = element("div", { class: "canvas", role: "presentation" });
    scroller.append(this.canvas);
    scroller.addEventListener("scroll", () => this.showRows(false), { passive: true });
    new ResizeObserver(() => this.showRows(false)).observe(scroller);
  }

  setCount(count) {
    if (count !== this.count) {
      this.count = count;
      this.canvas.style.height = `${count * this.rowHeight}px`;
    }
    this.refresh();
  }

  /** Draws the visible rows again. */
  refresh() {
    this.showRows(true);
  }

  /** Returns the first visible row and the one after the last, from 0. */
  visibleRange() {
    const room = Math.max(0, this.scroller.clientHeight - this.headHeight);
    const first = Math.floor(this.scroller.scrollTop / this.rowHeight);
    const end = Math.ceil((this.scroller.scrollTop + room) / this.rowHeight);
    return [Math.min(first, this.count), Math.min(end, this.count)];
  }

  /** The number of rows that are visible as a whole, at least one. */
  get pageSize() {
    const room = this.scroller.clientHeight - this.headHeight;
    return Math.max(1, Math.floor(room / this.rowHeight));
  }

  scrollIntoView(index) {
    const top = index * this.rowHeight;
    const room = this.pageSize * this.rowHeight;
    if (top < this.scroller.scrollTop) this.scroller.scrollTop = top;
    else if (top + this.rowHeight > this.scroller.scrollTop + room) {
      this.scroller.scrollTop = top + this.rowHeight - room;
    }
    this.showRows(false);
  }

  /** Returns the element of a row if it exists. */
  rowElement(index) {
    return this.rows.get(index) ?? null;
  }

  /** Drops the elements of all rows; they are made anew when they are shown. */
  discardRows() {
    for (const row of [...this.rows.values(), ...this.unused]) row.remove();
    this.rows.clear();
    this.unused = [];
  }

  showRows(all) {
    const [first, end] = this.visibleRange();
    const from = Math.max(0, first - kSpare);
    const to = Math.min(this.count, end + kSpare);
    this.putAside(from, to);
    for (let index = from; index < to; index += 1) {
      const known = this.rows.get(index);
      if (known !== undefined && !all) continue;
      this.drawRow(known ?? this.takeRow(index), index);
    }
    this.onRange?.();
  }

  putAside(from, to) {
    for (const [index, row] of this.rows) {
      if (index >= from && index < to) continue;
      this.rows.delete(index);
      this.unused.push(row);
      row.hidden = true;
    }
  }

  takeRow(index) {
    let row = this.unused.pop();
    if (row === undefined) {
      row = this.createRow();
      this.canvas.append(row);
    }
    row.hidden = false;
    row.style.transform = `translateY(${index * this.rowHeight}px)`;
    this.rows.set(index, row);
    return row;
  }
}
