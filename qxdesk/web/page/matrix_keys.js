// The keys of a matrix. They move the cell cursor; space clicks the cell, which selects its row,
// and typing begins to edit it. Where several rows can be selected, Shift with the keys that move
// up and down selects the rows on the way, and Ctrl or Shift with space clicks as with the mouse.

const kEnter = 13;

export class MatrixKeys {
  constructor(matrix) {
    this.matrix = matrix;
    this.hasStart = false;
  }

  /** Learns that a row was clicked from which Shift selects on. */
  rowClicked() {
    this.hasStart = true;
  }

  onKey(event) {
    const { matrix } = this;
    if (!matrix.usable || matrix.editor.isOpen || event.altKey || event.metaKey) return;
    if (!this.move(event) && !this.act(event)) return;
    event.preventDefault();
    event.stopPropagation();
  }

  move(event) {
    const { matrix } = this;
    const to = this.target(event);
    if (to === null) return false;
    const from = matrix.cursor;
    matrix.moveCursor(...to);
    const at = matrix.cursor;
    if (at.row === from.row) return true;
    if (event.shiftKey && matrix.selectsMany) {
      // The cursor may have left the row that was clicked last.
      if (!this.hasStart) matrix.click(from, 0);
      matrix.click(at, 0, { shift: true });
    } else {
      this.hasStart = false;
    }
    return true;
  }

  // Returns the row and the column to which a key moves the cursor, or null.
  target(event) {
    const { matrix } = this;
    const { row, column } = matrix.cursor;
    const last = matrix.rowCount - 1;
    const lastColumn = matrix.columns.length - 1;
    const right = getComputedStyle(matrix.control).direction === "rtl" ? -1 : 1;
    const page = Math.max(1, matrix.list.pageSize - 1);
    const far = event.ctrlKey;
    switch (event.key) {
      case "ArrowDown": return [far ? last : row + 1, column];
      case "ArrowUp": return [far ? 0 : row - 1, column];
      case "ArrowRight": return [row, column + right];
      case "ArrowLeft": return [row, column - right];
      case "Home": return [far ? 0 : row, 0];
      case "End": return [far ? last : row, lastColumn];
      case "PageDown": return [row + page, column];
      case "PageUp": return [row - page, column];
      default: return null;
    }
  }

  act(event) {
    const { matrix } = this;
    const { row, column } = matrix.cursor;
    if (matrix.rowCount === 0) return false;
    const editable = matrix.columns[column]?.editable === true;
    if (event.key === "Enter") return this.enter(editable);
    if (event.key === "F2") return this.edit();
    if (event.key === " ") {
      if (event.ctrlKey && event.shiftKey) matrix.click({ row: -1, column }, 0);
      else matrix.click({ row, column }, 0, matrix.heldKeys(event));
      return true;
    }
    // The letter itself goes into the field that has the focus now.
    if (event.key.length === 1 && !event.ctrlKey && editable) this.edit();
    return false;
  }

  edit() {
    const { row, column } = this.matrix.cursor;
    if (this.matrix.columns[column]?.editable) this.matrix.editor.open(row, column);
    return true;
  }

  // In a row that can be selected, the first Enter selects it and the next one is the form's.
  enter(editable) {
    const { matrix } = this;
    if (editable) return this.edit();
    const { row, column } = matrix.cursor;
    const selects = matrix.item.get("selection") !== "none";
    if (selects && !matrix.isSelected(row)) matrix.click({ row, column }, 0);
    else matrix.perform({ do: "key", key: kEnter, ...matrix.spot(row, column) });
    return true;
  }
}
