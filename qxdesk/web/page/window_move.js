// Moving a window with the mouse or with the arrow keys. The page moves it alone; the host learns
// of the last place.

const kStep = 8;
const kInReach = 60;
const kFarthest = 4000;

export class WindowMove {
  constructor(window) {
    this.window = window;
    this.rect = [0, 0, 0, 0];
    this.moving = null;
    const { bar } = window;
    bar.addEventListener("pointerdown", (event) => this.onDown(event));
    bar.addEventListener("pointermove", (event) => this.onMove(event));
    bar.addEventListener("pointerup", () => this.end());
    bar.addEventListener("pointercancel", () => this.cancel());
  }

  /**
   * Takes the place that the host has; while the user moves the window, that is ignored. The window
   * is drawn `wider` and `higher` than that.
   */
  place(rect, wider, higher) {
    this.rect = rect;
    const { style } = this.window.element;
    style.width = `${rect[2] + wider}px`;
    style.height = `${rect[3] + higher}px`;
    if (this.moving === null) this.show(rect[0], rect[1]);
  }

  show(left, top) {
    this.shown = [left, top];
    const { style } = this.window.element;
    style.insetInlineStart = `${left}px`;
    style.top = `${top}px`;
  }

  // Shows the window at a place that the host takes: its title bar stays within reach.
  drag(left, top) {
    const least = kInReach - this.rect[2];
    this.show(Math.round(Math.max(least, Math.min(left, kFarthest))),
      Math.round(Math.max(0, Math.min(top, kFarthest))));
  }

  onDown(event) {
    if (event.button !== 0 || event.altKey || event.target.closest("button") !== null) return;
    this.window.bar.setPointerCapture(event.pointerId);
    this.moving = { x: event.clientX, y: event.clientY, from: this.shown };
  }

  onMove(event) {
    if (this.moving === null || this.moving.byKeys) return;
    const { x, y, from } = this.moving;
    const rtl = getComputedStyle(this.window.element).direction === "rtl";
    const across = (event.clientX - x) * (rtl ? -1 : 1);
    this.drag(from[0] + across, from[1] + event.clientY - y);
  }

  /** Begins a move by the arrow keys; enter ends it and escape takes it back. */
  startByKeys() {
    this.moving = { byKeys: true, from: this.shown };
    this.window.element.focus({ preventScroll: true });
    this.window.page.notice("window.move.hint");
  }

  /** Returns true if the key belongs to a move. */
  takes(event) {
    if (this.moving?.byKeys !== true) return false;
    event.preventDefault();
    const rtl = getComputedStyle(this.window.element).direction === "rtl" ? -1 : 1;
    const [left, top] = this.shown;
    switch (event.key) {
      case "ArrowLeft": this.drag(left - kStep * rtl, top); break;
      case "ArrowRight": this.drag(left + kStep * rtl, top); break;
      case "ArrowUp": this.drag(left, top - kStep); break;
      case "ArrowDown": this.drag(left, top + kStep); break;
      case "Enter": this.end(); break;
      case "Escape": this.cancel(); break;
      default: break;
    }
    return true;
  }

  async end() {
    if (this.moving === null) return;
    const { from, byKeys } = this.moving;
    const [left, top] = this.shown;
    if (byKeys) this.window.page.followFocus();
    if (left === from[0] && top === from[1]) {
      this.moving = null;
      return;
    }
    const outcome = await this.window.perform({ do: "move", left, top });
    this.moving = null;
    if (outcome.result !== "done") this.show(this.rect[0], this.rect[1]);
  }

  cancel() {
    if (this.moving === null) return;
    this.moving = null;
    this.show(this.rect[0], this.rect[1]);
    this.window.page.followFocus();
  }
}
