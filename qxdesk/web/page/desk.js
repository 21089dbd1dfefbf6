// The desk: the open forms as windows, the one that was selected last on top. The main menu is a
// form, too; it lies behind the windows and shows the menu's entries as a list.

import { FormWindow } from "./form_window.js";
import { MainMenu } from "./main_menu.js";
import { say } from "./say.js";

const kMainMenuForm = "169";

export class Desk {
  constructor(page, root) {
    this.page = page;
    this.element = root;
    this.windows = new Map();
    this.state = null;
    say(root, "aria-label", "desk");
    root.tabIndex = -1;
    root.addEventListener("keydown", (event) => this.onKey(event));
  }

  update(state) {
    this.state = state;
    const forms = state.get("forms");
    for (const [uid, window] of [...this.windows]) {
      if (!isShown(forms.get(uid))) this.close(uid, window);
    }
    const stack = state.get("stack");
    for (const uid of state.get("order")) {
      const form = forms.get(uid);
      if (!isShown(form)) continue;
      const window = this.windows.get(uid) ?? this.openWindow(uid, form);
      window.update(form, uid === state.get("selected"), state);
      window.element.style.zIndex = window.isBackground ? 0 : 1 + stack.indexOf(uid);
    }
    this.followChangedFocus(state);
    this.showOpened(state);
  }

  // A form that opens outside of what is visible is scrolled to. One that is only selected is not:
  // it would move away under the mouse.
  showOpened(state) {
    for (const [uid, window] of this.windows) {
      const isNew = !window.wasShown && !window.isBackground;
      window.wasShown = true;
      if (!isNew || uid !== state.get("selected")) continue;
      window.element.scrollIntoView({ block: "nearest", inline: "nearest" });
    }
  }

  openWindow(uid, form) {
    const Kind = form.get("type") === kMainMenuForm ? MainMenu : FormWindow;
    const window = new Kind(this.page, uid);
    this.windows.set(uid, window);
    this.element.append(window.element);
    return window;
  }

  close(uid, window) {
    this.windows.delete(uid);
    window.remove();
  }

  // The user's focus is moved only when the host has moved its own.
  followChangedFocus(state) {
    const selected = state.get("selected");
    const focus = state.get("forms").get(selected)?.get("focus") ?? "";
    const shown = this.windows.has(selected);
    const known = this.known;
    this.known = { selected, focus, shown };
    if (known?.selected === selected && known.focus === focus && known.shown === shown) return;
    this.followFocus();
  }

  /** Gives the focus of the page to the selected form, unless the user is outside of the desk. */
  followFocus() {
    const active = document.activeElement;
    if (active !== document.body && active !== null && !this.element.contains(active)) return;
    this.takeFocus();
  }

  /** Gives the focus of the page to the selected form, or to the desk; returns true. */
  takeFocus() {
    const window = this.windows.get(this.state?.get("selected"));
    if (window === undefined) this.element.focus({ preventScroll: true });
    else window.takeFocus();
    return true;
  }

  onKey(event) {
    if (event.key !== "F6" || !event.ctrlKey) return;
    event.preventDefault();
    const shown = this.state.get("order").filter((uid) => this.windows.has(uid));
    if (shown.length === 0) return;
    const at = shown.indexOf(this.state.get("selected"));
    const step = event.shiftKey ? shown.length - 1 : 1;
    this.page.actions.perform({ do: "select", form: shown[(at + step) % shown.length] });
  }

  /** Outlines an item, or the form if `itemUid` is ""; null outlines nothing. */
  outline(formUid, itemUid) {
    for (const [uid, window] of this.windows) window.outline(uid === formUid ? itemUid : null);
  }
}

function isShown(form) {
  return form !== undefined && form.get("visible") === true;
}
