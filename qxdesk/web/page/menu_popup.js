// A popup of menu entries, with popups beneath it. The focus of the page is on the entry that is
// active, so that a screen reader says it.

import { element, placeBeside } from "./dom.js";
import { TypeAhead } from "./keyboard.js";

/** An entry is {text, type, enabled, checked, children, run}; text and run are enough. */
export class MenuPopup {
  /**
   * Opens beside `anchor`. `owner` gets closed(byKey) when the whole menu has closed and, from the
   * menu bar, sideways(step) for an arrow that leaves the popup. `parent` is the popup above.
   */
  constructor(entries, { anchor, owner, parent = null, label = "" }) {
    this.entries = entries;
    this.owner = owner;
    this.parent = parent;
    this.anchor = anchor;
    this.child = null;
    this.typeAhead = new TypeAhead();
    this.rtl = getComputedStyle(anchor).direction === "rtl";
    this.nodes = entries.map((entry) => this.makeNode(entry));
    this.element = element("div", {
      class: "menuPopup", role: "menu", dir: this.rtl ? "rtl" : "ltr", tabindex: "-1",
      "aria-label": label || null,
      on: {
        keydown: (event) => this.onKey(event),
        contextmenu: (event) => event.preventDefault(),
      },
    }, this.nodes);
    this.open();
  }

  open() {
    const { anchor, parent, rtl } = this;
    document.getElementById("overlay").append(this.element);
    const box = anchor.getBoundingClientRect();
    placeBeside(this.element, box, { toTheSide: parent !== null, rtl });
    anchor.setAttribute("aria-expanded", "true");
    if (parent === null) this.watchOutside();
  }

  makeNode(entry) {
    if (entry.type === "separator") return element("div", { class: "separator", role: entry.type });
    const isPopup = entry.type === "popup";
    const role = entry.checked === undefined || isPopup ? "menuitem" : "menuitemcheckbox";
    const node = element("div", {
      class: "menuEntry", role, tabindex: "-1",
      "aria-haspopup": isPopup ? "menu" : null,
      "aria-checked": role === "menuitemcheckbox" ? String(entry.checked === true) : null,
      "aria-disabled": entry.enabled === false ? "true" : null,
      on: {
        mouseenter: () => this.hover(node, entry),
        click: () => this.run(node, entry),
      },
    }, [element("span", { class: "check", "aria-hidden": "true" }),
      element("bdi", { text: entry.text }),
      element("span", { class: isPopup ? "arrow" : "", "aria-hidden": "true" })]);
    if (entry.uid !== undefined) node.dataset.menu = entry.uid;
    if (entry.uid !== undefined) node.dataset.menu = entry.uid;
    return node;
  }

  // A press anywhere else closes the menu.
  watchOutside() {
    this.outside = (event) => {
      if (event.target.closest(".menuPopup") !== null || this.anchor.contains(event.target)) return;
      this.closeAll(false);
    };
    document.addEventListener("pointerdown", this.outside, true);
  }

  get indexes() {
    return this.nodes.map((node, index) => index)
      .filter((index) => this.entries[index].type !== "separator");
  }

  get active() {
    return this.nodes.findIndex((node) => node.contains(document.activeElement));
  }

  activate(index) {
    this.nodes[index]?.focus();
  }

  activateFirst() {
    this.activate(this.indexes[0]);
    if (this.indexes.length === 0) this.element.focus();
  }

  hover(node, entry) {
    node.focus({ preventScroll: true });
    this.closeChild();
    if (entry.type === "popup" && entry.enabled !== false) this.openChild(node, entry, false);
  }

  run(node, entry) {
    if (entry.enabled === false) return;
    if (entry.type === "popup") {
      this.openChild(node, entry, true);
      return;
    }
    this.closeAll(true);
    entry.run?.();
  }

  openChild(node, entry, byKey) {
    this.closeChild();
    this.child = new MenuPopup(entry.children, {
      anchor: node, owner: this.owner, parent: this, label: entry.text,
    });
    if (byKey) this.child.activateFirst();
  }

  closeChild() {
    this.child?.close();
    this.child = null;
  }

  close() {
    this.closeChild();
    document.removeEventListener("pointerdown", this.outside, true);
    this.anchor.setAttribute("aria-expanded", "false");
    this.element.remove();
  }

  /** Closes the whole menu; with `byKey` the focus goes back to where the user came from. */
  closeAll(byKey) {
    let top = this;
    while (top.parent !== null) top = top.parent;
    top.close();
    this.owner.closed(byKey);
  }

  onKey(event) {
    if (event.ctrlKey || event.metaKey) return;
    const handled = this.onMove(event.key) || this.onAct(event.key) || this.onLetter(event.key);
    event.stopPropagation();
    if (handled || event.key === "Tab") event.preventDefault();
  }

  onMove(key) {
    const { indexes } = this;
    const at = indexes.indexOf(this.active);
    switch (key) {
      case "ArrowDown": this.activate(indexes[(at + 1) % indexes.length]); return true;
      case "ArrowUp":
        this.activate(indexes[(at <= 0 ? indexes.length : at) - 1]);
        return true;
      case "Home": this.activate(indexes[0]); return true;
      case "End": this.activate(indexes[indexes.length - 1]); return true;
      default: return false;
    }
  }

  onAct(key) {
    const entry = this.entries[this.active];
    const node = this.nodes[this.active];
    const inward = this.rtl ? "ArrowLeft" : "ArrowRight";
    const outward = this.rtl ? "ArrowRight" : "ArrowLeft";
    if (key === "Escape" || (key === outward && this.parent !== null)) return this.goOut(key);
    if (key === inward && entry?.type === "popup" && entry.enabled !== false) {
      this.openChild(node, entry, true);
    } else if (key === inward) this.owner.sideways?.(1);
    else if (key === outward) this.owner.sideways?.(-1);
    else if (key === "Enter" || key === " ") {
      if (entry !== undefined) this.run(node, entry);
    } else return false;
    return true;
  }

  goOut(key) {
    if (this.parent === null) this.closeAll(true);
    else {
      this.anchor.focus();
      this.parent.closeChild();
    }
    return key !== "";
  }

  onLetter(key) {
    if (key.length !== 1) return false;
    const texts = this.entries.map((entry) => entry.text ?? "");
    const found = this.typeAhead.find(key, texts, this.active);
    if (found >= 0) this.activate(found);
    return found >= 0;
  }
}
