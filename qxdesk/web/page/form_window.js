// A form as a window on the desk: its frame, its title bar and its items at the pixel positions of
// its document. The frame is as wide and high as the model says, so that the inside has exactly the
// size for which the items were laid out.

import { element, newId, setAttribute, setText } from "./dom.js";
import { createItemView } from "./items.js";
import { colorOf } from "./item_edit.js";
import { said, say } from "./say.js";
import { text } from "./texts.js";
import { WindowMove } from "./window_move.js";

const kEnter = 13;
const kOkMode = "ok";
const kCancelButton = "2";
/** An item that ends this far outside of the form makes the window larger; see missingRoom(). */
const kMostCut = 12;
const kEdge = 3;

export class FormWindow {
  constructor(page, uid) {
    this.page = page;
    this.uid = uid;
    this.form = null;
    this.views = new Map();
    this.makeTitleBar();
    this.client = element("div", { class: "formClient" });
    this.element = element("section", {
      class: "form", role: "group", tabindex: "-1", "aria-labelledby": this.title.id,
    }, [this.bar, this.client]);
    this.element.dataset.form = uid;
    this.move = new WindowMove(this);
    this.listen();
  }

  makeTitleBar() {
    const button = (kind, key, click) => said(element("button", {
      type: "button", class: kind, tabindex: "-1", on: { click },
    }), { "aria-label": key });
    this.title = element("span", { class: "title", id: newId() });
    this.mode = element("span", { class: "mode" });
    this.menuButton = button("menuButton", "window.menu", () => this.openMenu());
    this.closeButton =
        button("closeButton", "window.close", () => this.perform({ do: "close" }));
    this.bar = element("div", { class: "titleBar" },
      [this.menuButton, this.title, this.mode, this.closeButton]);
  }

  listen() {
    this.element.addEventListener("mousedown", (event) => this.onMouseDown(event));
    this.element.addEventListener("contextmenu", (event) => this.onContextMenu(event));
    this.element.addEventListener("keydown", (event) => this.onKey(event));
    this.client.addEventListener("click", (event) => this.onEmptyClick(event));
  }

  /** Sends an action on the form. */
  perform(fields) {
    return this.page.actions.perform({ form: this.uid, ...fields });
  }

  update(form, selected) {
    this.element.classList.toggle("selected", selected);
    if (form === this.form) return;
    const before = this.form;
    this.form = form;
    this.drawFrame(form);
    const same = before !== null && ["items", "order", "pane", "default"].every(
      (key) => before.get(key) === form.get(key));
    if (!same) this.drawItems(form);
  }

  drawFrame(form) {
    setText(this.title, form.get("title"));
    setAttribute(this.title, "title", form.get("title"));
    const mode = form.get("mode");
    say(this.mode, "text", `mode.${mode}`);
    this.mode.classList.toggle("quiet", mode === kOkMode);
    setAttribute(this.element, "aria-busy", form.get("frozen") ? "true" : null);
    this.element.classList.toggle("frozen", form.get("frozen") === true);
    this.element.dataset.border = form.get("border");
    const color = form.get("color");
    this.client.style.backgroundColor = color > 0 ? colorOf(color) : "";
    const [width, height] = form.get("client");
    const [wider, higher] = missingRoom(form);
    this.client.style.width = `${Math.max(0, width) + wider}px`;
    this.client.style.height = `${Math.max(0, height) + higher}px`;
    this.move.place(form.get("rect"), wider, higher);
  }

  drawItems(form) {
    const items = form.get("items");
    for (const uid of [...this.views.keys()]) {
      if (!isDrawn(items.get(uid), form)) this.removeView(uid);
    }
    const drawn = form.get("order").filter((uid) => isDrawn(items.get(uid), form));
    // Labels first, since they give the others their names.
    const labels = labelledBy(items);
    const views = drawn.map((uid) => this.viewOf(uid, items.get(uid)));
    drawn.forEach((uid, at) => {
      const labelId = this.views.get(labels.get(uid))?.control.id;
      views[at].updateIfChanged(items.get(uid), {
        isDefault: uid === form.get("default"), labelId,
      });
    });
    this.keepOrder(views);
  }

  removeView(uid) {
    this.views.get(uid).remove();
    this.views.delete(uid);
  }

  viewOf(uid, item) {
    let view = this.views.get(uid);
    if (view !== undefined && view.type !== item.get("type")) {
      this.removeView(uid);
      view = undefined;
    }
    if (view === undefined) {
      const owner = { page: this.page, formUid: this.uid, itemUid: uid };
      view = createItemView(item.get("type"), owner);
      view.type = item.get("type");
      this.views.set(uid, view);
    }
    return view;
  }

  // Moving an element takes the focus and the place of its scroll bars, so only what is out of
  // order is moved.
  keepOrder(views) {
    let next = this.client.firstElementChild;
    for (const view of views) {
      if (view.element === next) next = next.nextElementSibling;
      else this.client.insertBefore(view.element, next);
    }
  }

  // A click selects the form. An item whose click is an action does so by that.
  onMouseDown(event) {
    if (event.button !== 0) return;
    if (event.altKey) {
      this.page.showInPanel(this.uid, itemOf(event.target));
      event.preventDefault();
      event.stopPropagation();
      return;
    }
    if (this.isSelected || event.target.closest(".titleBar button") !== null) return;
    const view = this.views.get(itemOf(event.target));
    if (view?.selectsForm !== true) this.perform({ do: "select" });
  }

  get isSelected() {
    return this.element.classList.contains("selected");
  }

  // A click beside all items leaves the item with the focus.
  onEmptyClick(event) {
    if (event.target !== this.client || event.altKey) return;
    const focus = this.form.get("focus");
    const item = this.form.get("items").get(focus);
    if (item?.get("changed") === true) this.perform({ do: "validate", item: focus });
    this.page.followFocus();
  }

  onContextMenu(event) {
    if (event.target.closest(".titleBar") !== null) {
      event.preventDefault();
      this.openMenu();
      return;
    }
    event.preventDefault();
    this.perform({ do: "right", item: itemOf(event.target) ?? "" });
  }

  onKey(event) {
    if (event.defaultPrevented || event.isComposing || this.move.takes(event)) return;
    if (event.key === "-" && event.altKey) this.openMenu();
    else if (event.altKey || event.ctrlKey || event.metaKey) return;
    else if (event.key === "Tab") {
      this.perform(event.shiftKey ? { do: "tab", shift: true } : { do: "tab" });
    }
    else if (event.key === "Enter") {
      if (event.target.closest("button") !== null) return;
      this.pressEnter();
    } else if (event.key === "Escape") this.pressCancel();
    else return;
    event.preventDefault();
  }

  pressEnter() {
    const uid = itemOf(document.activeElement);
    if (uid !== null) this.views.get(uid)?.perform({ do: "key", key: kEnter });
    else this.views.get(this.form.get("default"))?.perform({ do: "press" });
  }

  pressCancel() {
    const view = this.views.get(kCancelButton);
    if (view?.type === "button" && view.usable) view.perform({ do: "press" });
  }

  openMenu() {
    const entry = (key, run) => ({ text: text(`window.${key}`), run });
    const focus = this.form.get("focus");
    this.page.openMenu(this.menuButton, [
      entry("move", () => this.move.startByKeys()),
      entry("right", () => this.perform({ do: "right", item: focus })),
      entry("print", () => this.perform({ do: "print" })),
      entry("report", () => this.perform({ do: "report" })),
      { type: "separator" },
      entry("close", () => this.perform({ do: "close" })),
    ]);
  }

  /** Gives the focus of the page to the item that has that of the form. */
  takeFocus() {
    const view = this.views.get(this.form.get("focus"));
    if (view !== undefined && view.usable) view.focus();
    else if (!this.element.contains(document.activeElement)) {
      this.element.focus({ preventScroll: true });
    }
  }

  outline(itemUid) {
    for (const [uid, { element: drawn }] of this.views) {
      drawn.classList.toggle("outlined", uid === itemUid);
    }
    this.element.classList.toggle("outlined", itemUid === "");
  }

  remove() {
    for (const uid of [...this.views.keys()]) this.removeView(uid);
    this.element.remove();
  }
}

/** Returns the UID of the item that an element belongs to, or null. */
export function itemOf(target) {
  return target?.closest?.(".item")?.dataset.item ?? null;
}

function isDrawn(item, form) {
  return item !== undefined && item.get("visible") === true && isOnPane(item, form);
}

function isOnPane(item, form) {
  const [from, to] = item.get("panes");
  const pane = form.get("pane");
  return (from === 0 && to === 0) || (from <= pane && pane <= to);
}

// Returns what the inside lacks in width and height for items that begin inside and end a little
// outside, as the bar of the progress form does. They would be cut; instead the window grows.
// Hidden items count, so that the window does not grow when they are shown.
function missingRoom(form) {
  const client = form.get("client");
  const missing = [0, 0];
  for (const item of form.get("items").values()) {
    if (!isOnPane(item, form)) continue;
    const rect = item.get("rect");
    for (const side of [0, 1]) {
      const over = rect[side] + rect[side + 2] - client[side];
      const isInside = rect[0] < client[0] && rect[1] < client[1];
      if (isInside && over > 0 && over <= kMostCut) {
        missing[side] = Math.max(missing[side], over + kEdge);
      }
    }
  }
  return missing;
}

// Returns the UID of the label of each item that has one.
function labelledBy(items) {
  const labels = new Map();
  for (const [uid, item] of items) {
    if (item.get("type") === "static" && item.get("link")) labels.set(item.get("link"), uid);
  }
  return labels;
}
