// The main menu, the form that owns the menu bar: the entries of the menus as a list at the side of
// the desk. It has no items of its own and lies behind all windows.

import { element, newId, setAttribute, setText } from "./dom.js";

export class MainMenu {
  constructor(page, uid) {
    this.page = page;
    this.uid = uid;
    this.isBackground = true;
    this.heading = element("h2", { id: newId() });
    this.list = element("div", { class: "entries" });
    this.element = element("nav", {
      class: "mainMenu", tabindex: "-1", "aria-labelledby": this.heading.id,
    }, [this.heading, this.list]);
    this.element.dataset.form = uid;
    this.element.addEventListener("mousedown", (event) => this.onMouseDown(event));
    this.element.addEventListener("keydown", (event) => this.onKey(event));
    this.element.addEventListener("contextmenu", (event) => {
      event.preventDefault();
      page.actions.perform({ do: "right", form: uid, item: "" });
    });
  }

  update(form, selected, state) {
    this.element.classList.toggle("selected", selected);
    if (form !== this.form) this.drawFrame(form);
    this.form = form;
    if (state.get("menus") !== this.menus) this.drawEntries(state.get("menus"));
    this.menus = state.get("menus");
  }

  drawFrame(form) {
    const [left, top, width, height] = form.get("rect");
    const { style } = this.element;
    style.insetInlineStart = `${left}px`;
    style.top = `${top}px`;
    style.width = `${width}px`;
    style.height = `${height}px`;
    setText(this.heading, form.get("title"));
  }

  drawEntries(menus) {
    const parts = [];
    for (const menu of menus) this.addEntries(parts, menu, 0, menu.get("enabled"));
    this.list.replaceChildren(...parts);
  }

  addEntries(parts, entry, depth, enabled) {
    if (entry.get("type") === "separator") return;
    const isPopup = entry.get("type") === "popup";
    parts.push(isPopup ? makeHeading(entry, depth) : this.makeButton(entry, depth, enabled));
    for (const child of entry.get("children")) {
      this.addEntries(parts, child, depth + 1, enabled && child.get("enabled"));
    }
  }

  makeButton(entry, depth, enabled) {
    const button = element("button", {
      type: "button", class: "entry", tabindex: "-1", text: entry.get("text"),
      on: {
        click: () => this.page.actions.perform({ do: "menu", uid: entry.get("uid") }),
      },
    });
    button.disabled = !enabled;
    if (entry.get("checked")) setAttribute(button, "aria-pressed", "true");
    button.dataset.depth = Math.min(depth, 4);
    return button;
  }

  onMouseDown(event) {
    if (event.altKey) this.page.showInPanel(this.uid, null);
    else if (event.button === 0 && event.target.closest("button") === null &&
        !this.element.classList.contains("selected")) {
      this.page.actions.perform({ do: "select", form: this.uid });
    }
  }

  onKey(event) {
    const step = event.key === "ArrowDown" || (event.key === "Tab" && !event.shiftKey) ? 1 :
      event.key === "ArrowUp" || event.key === "Tab" ? -1 : 0;
    const buttons = [...this.list.querySelectorAll("button:enabled")];
    if (step === 0 || buttons.length === 0 || event.ctrlKey || event.altKey) return;
    event.preventDefault();
    const at = buttons.indexOf(document.activeElement);
    buttons[at < 0 ? 0 : (at + step + buttons.length) % buttons.length].focus();
  }

  takeFocus() {
    if (!this.element.contains(document.activeElement)) this.element.focus({ preventScroll: true });
  }

  outline(itemUid) {
    this.element.classList.toggle("outlined", itemUid === "");
  }

  remove() {
    this.element.remove();
  }
}

function makeHeading(entry, depth) {
  const heading = element("h3", { class: "group", text: entry.get("text") });
  heading.dataset.depth = Math.min(depth, 4);
  return heading;
}
