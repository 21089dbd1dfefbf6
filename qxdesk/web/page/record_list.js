// A live list of records with a filter, a pause and a button to clear it. It keeps the last 1,000
// records. New ones are drawn together a few times a second, so that a flood of them does not make
// the page stutter.

import { element, setText } from "./dom.js";
import { text } from "./texts.js";
import { VirtualList } from "./virtual_list.js";

const kMost = 1000;
const kRowHeight = 18;
const kDrawMilliseconds = 100;

export class RecordList {
  /**
   * `columns` are {name, title, className}; `describe(record)` returns {texts, className}: a text
   * per column. The filter looks into all of them.
   */
  constructor({ label, columns, describe }) {
    this.columns = columns;
    this.describe = describe;
    this.records = [];
    this.held = [];
    this.matching = [];
    this.paused = false;
    this.shown = false;
    this.timer = 0;
    this.makeTools();
    this.scroller = element("div", {
      class: "records", role: "table", tabindex: "0", "aria-label": label,
    }, [this.makeHead()]);
    this.element = element("div", { class: "tab" }, [this.tools, this.scroller]);
    this.list = new VirtualList(this.scroller, {
      rowHeight: kRowHeight,
      headHeight: columns.length > 1 ? kRowHeight : 0,
      createRow: () => this.createRow(),
      drawRow: (row, index) => this.drawRow(row, index),
    });
  }

  makeTools() {
    this.filter = element("input", {
      type: "search", placeholder: text("panel.filter"), "aria-label": text("panel.filter"),
      on: { input: () => this.filterAll() },
    });
    this.pause = element("button", {
      type: "button", text: text("panel.pause"), on: { click: () => this.togglePause() },
    });
    const clear = element("button", {
      type: "button", text: text("panel.clear"), on: { click: () => this.clear() },
    });
    this.counter = element("span", { class: "counter" });
    this.tools = element("div", { class: "recordTools" },
      [this.filter, this.pause, clear, this.counter]);
  }

  makeHead() {
    if (this.columns.length < 2) return element("div", { hidden: true });
    const heads = this.columns.map(({ name, title }) => element(
      "span", { class: `col-${name}`, role: "columnheader", text: title }));
    return element("div", { class: "recordHead", role: "row" }, heads);
  }

  createRow() {
    return element("div", { class: "record", role: "row" }, this.columns.map(
      ({ name }) => element("span", { class: `col-${name}`, role: "cell" })));
  }

  drawRow(row, index) {
    const { texts, className = "" } = this.matching[index];
    row.className = `record ${className}`;
    texts.forEach((part, at) => {
      setText(row.children[at], part);
      row.children[at].title = part;
    });
  }

  /** Adds records. */
  add(records) {
    if (this.paused) this.held = this.held.concat(records).slice(-kMost);
    else this.take(records);
    this.drawSoon();
  }

  take(records) {
    for (const record of records) this.insert(record, this.describe(record));
    this.records = this.records.slice(-kMost);
    this.matching = this.records.filter((one) => this.matches(one));
  }

  /** Puts a record to the others, here at the end; `shown` is its description. */
  insert(record, shown) {
    this.records.push(shown);
  }

  matches({ texts }) {
    const wanted = this.filter.value.trim().toLocaleLowerCase();
    return wanted === "" || texts.some((part) => part.toLocaleLowerCase().includes(wanted));
  }

  filterAll() {
    this.matching = this.records.filter((one) => this.matches(one));
    this.drawNow();
  }

  togglePause() {
    this.paused = !this.paused;
    setText(this.pause, text(this.paused ? "panel.resume" : "panel.pause"));
    if (!this.paused) this.take(this.held);
    if (!this.paused) this.held = [];
    this.drawNow();
  }

  clear() {
    this.records = [];
    this.held = [];
    this.matching = [];
    this.drawNow();
  }

  setShown(shown) {
    this.shown = shown;
    if (shown) this.drawNow();
  }

  drawSoon() {
    if (this.timer !== 0 || !this.shown) return;
    this.timer = setTimeout(() => this.drawNow(), kDrawMilliseconds);
  }

  // The list follows its end unless the user has scrolled away from it.
  drawNow() {
    clearTimeout(this.timer);
    this.timer = 0;
    const { scroller } = this;
    const atEnd = scroller.scrollTop + scroller.clientHeight >= scroller.scrollHeight - kRowHeight;
    this.list.setCount(this.matching.length);
    if (atEnd) scroller.scrollTop = scroller.scrollHeight;
    const counts = {
      shown: this.matching.length, all: this.records.length, waiting: this.held.length,
    };
    setText(this.counter, text(this.held.length > 0 ? "panel.skipped" : "panel.count", counts));
  }
}
