// A matrix: a grid of which only the visible rows exist. The page moves a cell cursor by itself;
// what the user clicks, types and double-clicks are actions. The rows come from the host in blocks.

import { CellEditor } from "./cell_editor.js";
import { element, newId, setAttribute, setText } from "./dom.js";
import { ItemView, kDoubleClickMilliseconds } from "./item_view.js";
import { MatrixKeys } from "./matrix_keys.js";
import { RowCache } from "./row_cache.js";
import { VirtualList } from "./virtual_list.js";

export const kRowHeight = 16;
const kHeadHeight = 18;

export class MatrixView extends ItemView {
  constructor(owner) {
    super(owner, "matrix");
    this.columns = [];
    this.cursor = { row: 0, column: 0 };
    this.head = element("div", { class: "head", role: "row", "aria-rowindex": "1" });
    this.setControl(element("div", { class: "grid", role: "grid" }, [
      element("div", { class: "headGroup", role: "rowgroup" }, [this.head])]));
    this.list = new VirtualList(this.control, {
      rowHeight: kRowHeight,
      headHeight: kHeadHeight,
      createRow: () => this.createRow(),
      drawRow: (row, index) => this.drawRow(row, index),
      onRange: () => this.wantRows(),
    });
    this.list.canvas.setAttribute("role", "rowgroup");
    this.cache = new RowCache((from, count) => this.requestRows(from, count),
      () => this.rowsChanged());
    this.editor = new CellEditor(this);
    this.keys = new MatrixKeys(this);
    this.listen();
  }

  listen() {
    this.control.addEventListener("click", (event) => this.onClick(event));
    this.control.addEventListener("dblclick", (event) => this.onDoubleClick(event));
    this.control.addEventListener("mousedown", (event) => this.onMouseDown(event));
    this.control.addEventListener("keydown", (event) => this.keys.onKey(event));
    // A letter in a cell that takes text has opened the field over it.
    this.sendLetters(() => !this.editor.isOpen);
  }

  draw(item) {
    const columns = item.get("columns");
    if (columns !== this.allColumns) this.setColumns(columns);
    setAttribute(this.control, "tabindex", item.get("usable") ? "-1" : null);
    setAttribute(this.control, "aria-disabled", item.get("usable") ? null : "true");
    setAttribute(this.control, "aria-rowcount", item.get("rows") + 1);
    setAttribute(this.control, "aria-multiselectable",
      item.get("selection") === "many" ? "true" : null);
    this.cache.setShape(item.get("rows"), item.get("revision"));
    this.list.setCount(item.get("rows"));
    if (this.editor.isOpen && this.editor.row >= item.get("rows")) this.editor.close();
    this.moveCursor(this.cursor.row, this.cursor.column, false);
  }

  // Rows that exist have the old number of cells, so they are made anew.
  setColumns(columns) {
    this.allColumns = columns;
    this.columns = columns.map((column, index) => ({
      uid: column.get("uid"), index, width: column.get("width"), title: column.get("title"),
      editable: column.get("editable") === true, right: column.get("right") === true,
      limit: column.get("limit") ?? 0, visible: column.get("visible") === true,
      description: column.get("description") ?? "",
    })).filter((column) => column.visible);
    this.editor.close();
    this.head.replaceChildren(...this.columns.map((column, at) => this.makeHead(column, at)));
    const width = this.columns.reduce((sum, column) => sum + column.width, 0);
    this.head.style.width = `${width}px`;
    this.list.canvas.style.width = `${width}px`;
    setAttribute(this.control, "aria-colcount", this.columns.length);
    this.list.discardRows();
  }

  makeHead(column, at) {
    const head = element("div", {
      class: column.right ? "cell right" : "cell", role: "columnheader", id: newId(),
      "aria-colindex": at + 1, title: column.description || column.title || null,
      text: column.title,
    });
    head.dataset.column = column.uid;
    head.style.width = `${column.width}px`;
    return head;
  }

  createRow() {
    const cells = this.columns.map((column, at) => {
      const cell = element("div", {
        class: column.right ? "cell right" : "cell", role: "gridcell", id: newId(),
        "aria-colindex": at + 1,
      });
      cell.classList.toggle("editable", column.editable);
      cell.style.width = `${column.width}px`;
      return cell;
    });
    return element("div", { class: "row", role: "row" }, cells);
  }

  drawRow(row, index) {
    const data = this.cache.row(index);
    setAttribute(row, "aria-rowindex", index + 2);
    const selected = data?.get("selected") === true;
    setAttribute(row, "aria-selected", String(selected));
    row.classList.toggle("selected", selected);
    row.classList.toggle("odd", index % 2 === 1);
    row.classList.toggle("missing", data === undefined);
    const cells = data?.get("cells");
    this.columns.forEach((column, at) => {
      const cell = row.children[at];
      setText(cell, cells?.[column.index] ?? "");
      cell.classList.toggle("cursor", index === this.cursor.row && at === this.cursor.column);
    });
  }

  async requestRows(from, count) {
    const { page, formUid, itemUid } = this.owner;
    const outcome = await page.actions.sendNow(
      { do: "rows", form: formUid, item: itemUid, from, count });
    return outcome.result === "done" ? outcome.message : null;
  }

  wantRows() {
    // The list calls this while it is being made, too.
    this.cache?.want(...this.list.visibleRange());
  }

  rowsChanged() {
    this.list.refresh();
    this.editor.rowsChanged();
    this.pointAtCursor();
  }

  get rowCount() {
    return this.item.get("rows");
  }

  isSelected(row) {
    return this.cache.row(row)?.get("selected") === true;
  }

  /** Returns the fields that name a cell in an action. */
  spot(row, column) {
    return { column: this.columns[column]?.uid ?? "", row: row + 1 };
  }

  moveCursor(row, column, scroll = true) {
    const last = Math.max(0, this.rowCount - 1);
    const to = {
      row: Math.max(0, Math.min(row, last)),
      column: Math.max(0, Math.min(column, this.columns.length - 1)),
    };
    const same = to.row === this.cursor.row && to.column === this.cursor.column;
    this.cursor = to;
    if (scroll) this.scrollToCursor();
    if (!same) this.list.refresh();
    this.pointAtCursor();
  }

  scrollToCursor() {
    this.list.scrollIntoView(this.cursor.row);
    const before = this.columns.slice(0, this.cursor.column);
    const left = before.reduce((sum, column) => sum + column.width, 0);
    const right = left + (this.columns[this.cursor.column]?.width ?? 0);
    // Seen from the right, positions to the left are negative.
    const sign = getComputedStyle(this.control).direction === "rtl" ? -1 : 1;
    const at = this.control.scrollLeft * sign;
    if (left < at) this.control.scrollLeft = left * sign;
    else if (right > at + this.control.clientWidth) {
      this.control.scrollLeft = (right - this.control.clientWidth) * sign;
    }
  }

  pointAtCursor() {
    const row = this.list.rowElement(this.cursor.row);
    setAttribute(this.control, "aria-activedescendant", row?.children[this.cursor.column]?.id);
  }

  // Returns {row, column} of a place on the grid, row -1 for the head, or null.
  placeOf(target) {
    const cell = target.closest(".cell");
    if (cell === null || !this.control.contains(cell)) return null;
    const line = cell.parentElement;
    const column = [...line.children].indexOf(cell);
    if (line === this.head) return { row: -1, column };
    return { row: Number(line.getAttribute("aria-rowindex")) - 2, column };
  }

  /** True if the user can select several rows. */
  get selectsMany() {
    return this.item.get("selection") === "many";
  }

  /** Returns the keys of an event that matter to a click on a row, as fields of its action. */
  heldKeys(event) {
    if (!this.selectsMany) return {};
    const ctrl = event.ctrlKey || event.metaKey;
    return { ...(ctrl ? { ctrl } : {}), ...(event.shiftKey ? { shift: true } : {}) };
  }

  // The grid keeps the focus when a cell is clicked; the editor takes it for itself.
  onMouseDown(event) {
    if (!this.usable || event.altKey || this.editor.owns(event.target)) return;
    const place = this.placeOf(event.target);
    if (place === null || event.button !== 0) return;
    event.preventDefault();
    this.editor.close();
    this.control.focus({ preventScroll: true });
    if (place.row < 0) return;
    this.moveCursor(place.row, place.column, false);
    const held = this.heldKeys(event);
    if (Object.keys(held).length > 0) {
      this.click(place, 0, held);
      return;
    }
    if (event.detail <= 1) this.click(place, kDoubleClickMilliseconds);
    if (this.columns[place.column].editable) this.editor.open(place.row, place.column);
  }

  // A cell is clicked when the button goes down: the editor may lie over it when it comes up.
  onClick(event) {
    if (!this.usable || event.altKey) return;
    const place = this.placeOf(event.target);
    const isHead = place !== null && place.row < 0;
    if (isHead && event.detail <= 1) this.click(place, kDoubleClickMilliseconds);
  }

  /**
   * Clicks a cell; `delay` is the time in which a second click makes a double click of it, `held`
   * what heldKeys() returns.
   */
  click(place, delay, held = {}) {
    const { page, formUid, itemUid } = this.owner;
    const fields = { do: "press", ...this.spot(place.row, place.column), ...held };
    if (place.row >= 0 && held.shift !== true) this.keys.rowClicked();
    if (delay === 0) this.perform(fields);
    else page.actions.hold({ form: formUid, item: itemUid, ...fields }, delay);
  }

  onDoubleClick(event) {
    if (!this.usable || event.altKey || Object.keys(this.heldKeys(event)).length > 0) return;
    const place = this.editor.owns(event.target) ? this.editor.place : this.placeOf(event.target);
    if (place === null) return;
    this.owner.page.actions.forgetHeld();
    this.perform({ do: "double", ...this.spot(place.row, place.column) });
  }

  focus() {
    if (this.control.contains(document.activeElement)) return;
    super.focus();
  }

  remove() {
    this.editor.close();
    super.remove();
  }
}
