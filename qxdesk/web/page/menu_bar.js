// The menu bar with the tree of the host's menus, and at its end what belongs to the page: the
// language, the colours and the author's panel.

import { element, setAttribute } from "./dom.js";
import { MenuPopup } from "./menu_popup.js";
import { say } from "./say.js";
import { text } from "./texts.js";

export class MenuBar {
  constructor(page, root, tools) {
    this.page = page;
    this.element = root;
    this.menus = null;
    this.popup = null;
    this.open = -1;
    this.bar = element("div", {
      class: "bar", role: "menubar", on: { keydown: (event) => this.onKey(event) },
    });
    say(this.bar, "aria-label", "menu.bar");
    this.who = element("span", { class: "who" });
    root.append(this.bar, this.who, tools);
  }

  update(state) {
    const client = state.get("client");
    const who = text("client.title",
      { company: client.get("company"), user: client.get("user") });
    if (this.who.textContent !== who) {
      this.who.textContent = who;
      document.title = `${who} – qxdesk`;
    }
    if (state.get("menus") === this.menus) return;
    this.menus = state.get("menus");
    const hadFocus = this.bar.contains(document.activeElement) || this.popup !== null;
    this.closePopup();
    this.bar.replaceChildren(...this.menus.map((menu, index) => this.makeButton(menu, index)));
    if (hadFocus) this.page.leaveMenus();
  }

  makeButton(menu, index) {
    const isPopup = menu.get("type") === "popup";
    const button = element("button", {
      type: "button", role: "menuitem", tabindex: index === 0 ? "0" : "-1",
      text: menu.get("text"), "aria-haspopup": isPopup ? "menu" : null,
      "aria-expanded": isPopup ? "false" : null,
      "aria-disabled": menu.get("enabled") ? null : "true",
      on: {
        mousedown: (event) => event.preventDefault(),
        click: () => this.press(index),
        mouseenter: () => {
          if (this.popup !== null && this.open !== index) this.show(index, false);
        },
      },
    });
    button.dataset.menu = menu.get("uid");
    if (menu.get("type") === "separator") button.hidden = true;
    return button;
  }

  press(index) {
    if (this.open === index && this.popup !== null) this.leave();
    else this.show(index, false);
  }

  // A popup opens; any other entry is picked at once.
  show(index, byKey) {
    const menu = this.menus[index];
    const button = this.bar.children[index];
    this.closePopup();
    this.open = index;
    setRoving(this.bar, button);
    button.focus();
    if (!menu.get("enabled")) return;
    if (menu.get("type") !== "popup") {
      if (!byKey) this.pick(menu);
      return;
    }
    this.popup = new MenuPopup(this.entriesOf(menu), {
      anchor: button, label: menu.get("text"),
      owner: {
        closed: (back) => this.popupClosed(back),
        sideways: (step) => this.step(step, true),
      },
    });
    if (byKey) this.popup.activateFirst();
  }

  entriesOf(menu) {
    return menu.get("children").map((child) => ({
      uid: child.get("uid"),
      text: child.get("text"),
      type: child.get("type"),
      enabled: child.get("enabled"),
      checked: child.get("checked") ? true : undefined,
      children: this.entriesOf(child),
      run: () => this.pick(child),
    }));
  }

  pick(menu) {
    this.leave();
    this.page.actions.perform({ do: "menu", uid: menu.get("uid") });
  }

  popupClosed(back) {
    this.popup = null;
    if (back) this.page.leaveMenus();
  }

  closePopup() {
    this.popup?.close();
    this.popup = null;
  }

  leave() {
    this.closePopup();
    this.page.leaveMenus();
  }

  /** Goes to the menu bar, or back to the desk. */
  toggle() {
    if (this.popup !== null || this.bar.contains(document.activeElement)) this.leave();
    else this.focus();
  }

  /** Puts the focus on the first menu; returns false if there is none. */
  focus() {
    const first = this.bar.querySelector("button:not([hidden])");
    if (first === null) return false;
    this.closePopup();
    setRoving(this.bar, first);
    first.focus();
    return true;
  }

  step(step, openPopup) {
    const count = this.menus.length;
    const now = this.popup === null ? this.activeIndex : this.open;
    let index = now;
    do index = (index + step + count) % count;
    while (this.bar.children[index].hidden && index !== now);
    if (openPopup) this.show(index, true);
    else {
      setRoving(this.bar, this.bar.children[index]);
      this.bar.children[index].focus();
    }
  }

  get activeIndex() {
    return Math.max(0, [...this.bar.children].indexOf(document.activeElement));
  }

  onKey(event) {
    if (event.ctrlKey || event.altKey || event.metaKey || !this.bar.contains(event.target)) return;
    const rtl = getComputedStyle(this.bar).direction === "rtl" ? -1 : 1;
    switch (event.key) {
      case "ArrowRight": this.step(rtl, false); break;
      case "ArrowLeft": this.step(-rtl, false); break;
      case "ArrowDown": case "Enter": case " ": this.enter(event.key); break;
      case "Escape": this.leave(); break;
      default: if (!this.findLetter(event.key)) return;
    }
    event.preventDefault();
    event.stopPropagation();
  }

  enter(key) {
    const index = this.activeIndex;
    const menu = this.menus[index];
    if (menu.get("type") === "popup") this.show(index, true);
    else if (key !== "ArrowDown" && menu.get("enabled")) this.pick(menu);
  }

  findLetter(letter) {
    if (letter.length !== 1) return false;
    const wanted = letter.toLocaleLowerCase();
    const found = this.menus.findIndex(
      (menu) => menu.get("text").toLocaleLowerCase().startsWith(wanted));
    if (found >= 0) this.show(found, true);
    return found >= 0;
  }
}

// One button of the bar is in the tab order of the page.
function setRoving(bar, active) {
  for (const button of bar.children) {
    setAttribute(button, "tabindex", button === active ? "0" : "-1");
  }
}
