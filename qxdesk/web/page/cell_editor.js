// The text field over the cell that is being edited. It lies on the canvas beside the rows, so that
// it scrolls with them and stays when the rows' elements are used again.

import { element } from "./dom.js";
import { FieldTyping, limitField, prepareField } from "./field_typing.js";

export class CellEditor {
  constructor(matrix) {
    this.matrix = matrix;
    this.isOpen = false;
    this.row = -1;
    this.column = -1;
    this.input = prepareField(element("input", { class: "cellEditor" }));
    this.typing = new FieldTyping(this.input, {
      send: (change) => matrix.perform({ ...change, ...matrix.spot(this.row, this.column) }),
      isFresh: () => matrix.cache.isFresh(this.row),
    });
    this.input.addEventListener("keydown", (event) => this.onKey(event));
    this.input.addEventListener("blur", () => this.close(false));
  }

  get place() {
    return { row: this.row, column: this.column };
  }

  owns(target) {
    return target === this.input;
  }

  /** Opens the field over a cell. */
  open(row, column) {
    const { matrix, input } = this;
    if (matrix.cache.row(row) === undefined) return;
    this.close();
    Object.assign(this, { row, column, isOpen: true, before: this.cellText(row, column) });
    this.lay(row, column);
    this.typing.reset(this.before);
    matrix.list.canvas.append(input);
    input.focus({ preventScroll: true });
    input.setSelectionRange(input.value.length, input.value.length);
  }

  lay(row, column) {
    const { columns, list } = this.matrix;
    const { limit, right, title, width } = columns[column];
    const { style } = this.input;
    const before = columns.slice(0, column).reduce((sum, each) => sum + each.width, 0);
    style.insetInlineStart = `${before}px`;
    style.top = `${row * list.rowHeight}px`;
    style.width = `${width}px`;
    style.height = `${list.rowHeight}px`;
    limitField(this.input, limit);
    this.input.classList.toggle("right", right);
    this.input.setAttribute("aria-label", `${title} ${row + 1}`);
  }

  /** Closes the field; the grid takes the focus back unless it has gone elsewhere. */
  close(keepFocus = true) {
    if (!this.isOpen) return;
    this.isOpen = false;
    const hadFocus = document.activeElement === this.input;
    if (hadFocus && keepFocus) this.matrix.control.focus({ preventScroll: true });
    this.input.remove();
  }

  cellText(row, column) {
    const cells = this.matrix.cache.row(row)?.get("cells");
    return cells?.[this.matrix.columns[column].index] ?? "";
  }

  rowsChanged() {
    if (!this.isOpen || !this.matrix.cache.isFresh(this.row)) return;
    this.typing.setModel(this.cellText(this.row, this.column));
  }

  onKey(event) {
    if (event.isComposing) return;
    switch (event.key) {
      case "Escape":
        if (this.input.value !== this.before) this.typing.change(this.before);
        this.close();
        break;
      case "Enter": case "ArrowDown": this.step(1); break;
      case "ArrowUp": this.step(-1); break;
      case "Tab": return;
      default:
        event.stopPropagation();
        return;
    }
    event.preventDefault();
    event.stopPropagation();
  }

  step(rows) {
    const { row, column } = this;
    this.close();
    this.matrix.moveCursor(row + rows, column);
  }
}
