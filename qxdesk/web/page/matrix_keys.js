// The keys of a matrix. They move the cell cursor; space clicks the cell, which selects its row,
// and typing begins to edit it.

const kEnter = 13;

export class MatrixKeys {
  constructor(matrix) {
    this.matrix = matrix;
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
    const { row, column } = matrix.cursor;
    const last = matrix.rowCount - 1;
    const lastColumn = matrix.columns.length - 1;
    const rtl = getComputedStyle(matrix.control).direction === "rtl";
    const page = Math.max(1, matrix.list.pageSize - 1);
    const far = event.ctrlKey;
    switch (event.key) {
      case "ArrowDown": matrix.moveCursor(far ? last : row + 1, column); return true;
      case "ArrowUp": matrix.moveCursor(far ? 0 : row - 1, column); return true;
      case "ArrowRight": matrix.moveCursor(row, column + (rtl ? -1 : 1)); return true;
      case "ArrowLeft": matrix.moveCursor(row, column + (rtl ? 1 : -1)); return true;
      case "Home": matrix.moveCursor(far ? 0 : row, 0); return true;
      case "End": matrix.moveCursor(far ? last : row, lastColumn); return true;
      case "PageDown": matrix.moveCursor(row + page, column); return true;
      case "PageUp": matrix.moveCursor(row - page, column); return true;
      default: return false;
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
      if (event.ctrlKey && column >= 0) matrix.click({ row: -1, column }, 0);
      else matrix.click({ row, column }, 0);
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
