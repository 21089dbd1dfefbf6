// The tools of the page at the end of the menu bar: the client's language, the colours, the list of
// the keys and the author's panel.

import { element, setAttribute, setText } from "./dom.js";
import { said, say } from "./say.js";
import { languages, text } from "./texts.js";
import { setTheme, theme, themes } from "./theme.js";

const kKeys = ["F10", "F6", "CtrlF6", "AltMinus", "Tab", "Enter", "Escape", "AltDown", "F2",
  "Space", "CtrlSpace", "ShiftDown", "CtrlShiftSpace", "ShiftF10", "AltClick"];

export class ClientTools {
  constructor(page) {
    this.page = page;
    this.language = this.makeButton("client.language", "language", () => this.languageEntries());
    this.colours = this.makeButton("client.theme", "theme", () => this.themeEntries());
    say(this.colours, "text", "client.theme");
    this.keys = said(element("button", {
      type: "button", class: "tool", on: { click: showKeys },
    }), { text: "client.keys" });
    this.panel = said(element("button", {
      type: "button", class: "tool panelToggle", on: { click: () => page.panel.toggle() },
    }), { text: "panel" });
    this.element = element("div", { class: "tools" },
      [this.language, this.colours, this.keys, this.panel]);
  }

  makeButton(key, kind, entries) {
    const button = said(element("button", {
      type: "button", class: `tool ${kind}`, "aria-haspopup": "menu", "aria-expanded": "false",
      on: { click: () => this.page.openMenu(button, entries()) },
    }), { title: key });
    return button;
  }

  update(client) {
    if (client === this.client) return;
    this.client = client;
    const number = client.get("language");
    setText(this.language, languages.get(number) ?? String(number));
  }

  panelShown(shown) {
    setAttribute(this.panel, "aria-pressed", String(shown));
    say(this.panel, "title", shown ? "client.panel.hide" : "client.panel.show");
  }

  languageEntries() {
    return [...languages].map(([number, name]) => ({
      uid: String(number),
      text: name,
      checked: number === this.client?.get("language"),
      run: () => this.page.actions.perform({ do: "language", language: number }),
    }));
  }

  themeEntries() {
    return themes.map((name) => ({
      text: text(`client.theme.${name}`),
      checked: name === theme(),
      run: () => setTheme(name),
    }));
  }
}

function showKeys() {
  const rows = kKeys.map((key) => element("tr", {}, [
    element("th", { scope: "row", text: key.replace(/(Ctrl|Alt|Shift)(?=.)/g, "$1+") }),
    said(element("td"), { text: `keys.${key}` })]));
  const close = said(element("button", { type: "button" }), { text: "keys.close" });
  const dialog = said(element("dialog", { class: "box keys" }, [
    said(element("h2"), { text: "keys.title" }),
    element("table", {}, rows),
    element("div", { class: "buttons" }, [close])]), { "aria-label": "keys.title" });
  close.addEventListener("click", () => dialog.close());
  dialog.addEventListener("close", () => dialog.remove());
  document.body.append(dialog);
  dialog.showModal();
}
