// The author's panel beside the desk: its tabs, its width, and whether it is shown. The host sends
// events, statements and log only while it is.

import { element, newId, setAttribute } from "./dom.js";
import { FormsTab } from "./panel_forms.js";
import { EventsTab, LogTab, StatementsTab } from "./panel_lists.js";
import { text } from "./texts.js";
import { recall, remember } from "./theme.js";

const kKey = "qxdesk.panel";
const kLeastWidth = 240;
const kLeastDesk = 560;
const kStep = 16;

export class Panel {
  constructor(page, root, divider) {
    this.page = page;
    this.element = root;
    this.divider = divider;
    this.kept = { shown: true, width: 420, tab: "events", ...recall(kKey, {}) };
    this.tabs = new Map([
      ["events", new EventsTab()], ["statements", new StatementsTab()], ["log", new LogTab()],
      ["forms", new FormsTab(page)],
    ]);
    this.buttons = new Map();
    this.build();
    this.listenToDivider();
    addEventListener("resize", () => this.fit());
    this.showTab(this.kept.tab);
    this.apply();
  }

  build() {
    const bar = element("div", {
      class: "tabs", role: "tablist", "aria-label": text("panel"),
      on: { keydown: (event) => this.onTabKey(event) },
    });
    const pages = element("div", { class: "pages" });
    for (const [name, tab] of this.tabs) {
      tab.element.id = newId();
      setAttribute(tab.element, "role", "tabpanel");
      const button = element("button", {
        type: "button", role: "tab", id: newId(), text: text(`panel.${name}`),
        "aria-controls": tab.element.id, on: { click: () => this.showTab(name) },
      });
      setAttribute(tab.element, "aria-labelledby", button.id);
      this.buttons.set(name, button);
      bar.append(button);
      pages.append(tab.element);
    }
    setAttribute(this.element, "aria-label", text("panel"));
    this.element.append(bar, pages);
  }

  showTab(name) {
    const known = this.tabs.has(name) ? name : "events";
    this.kept.tab = known;
    for (const [key, tab] of this.tabs) {
      const shown = key === known;
      tab.element.hidden = !shown;
      setAttribute(this.buttons.get(key), "aria-selected", String(shown));
      setAttribute(this.buttons.get(key), "tabindex", shown ? "0" : "-1");
      tab.setShown(shown && this.kept.shown);
    }
    remember(kKey, this.kept);
  }

  onTabKey(event) {
    const step = { ArrowRight: 1, ArrowLeft: -1 }[event.key];
    if (step === undefined) return;
    event.preventDefault();
    const names = [...this.tabs.keys()];
    const at = names.indexOf(this.kept.tab);
    const next = names[(at + step + names.length) % names.length];
    this.showTab(next);
    this.buttons.get(next).focus();
  }

  toggle() {
    this.kept.shown = !this.kept.shown;
    this.apply();
    this.ask();
  }

  show(name) {
    if (!this.kept.shown) this.toggle();
    this.showTab(name);
  }

  get isShown() {
    return this.kept.shown;
  }

  // Layout first: a tab that is shown measures itself.
  apply() {
    document.body.classList.toggle("panelShown", this.kept.shown);
    this.fit();
    this.showTab(this.kept.tab);
    this.page.tools.panelShown(this.kept.shown);
  }

  /** Tells the host whether it is to send what the panel shows. */
  ask() {
    this.page.actions.sendNow({ do: "panel", shown: this.kept.shown });
  }

  setWidth(width) {
    this.kept.width = Math.round(Math.max(kLeastWidth, Math.min(width, mostWidth())));
    remember(kKey, this.kept);
    this.fit();
  }

  // A small window takes from the panel and not from the desk; a larger one gives it back.
  fit() {
    const width = Math.min(this.kept.width, mostWidth());
    document.body.style.setProperty("--panel-width", `${width}px`);
    setAttribute(this.divider, "aria-valuenow", width);
    setAttribute(this.divider, "aria-valuemax", mostWidth());
  }

  listenToDivider() {
    const { divider } = this;
    setAttribute(divider, "role", "separator");
    setAttribute(divider, "aria-orientation", "vertical");
    setAttribute(divider, "aria-label", text("panel.width"));
    setAttribute(divider, "aria-valuemin", kLeastWidth);
    setAttribute(divider, "tabindex", "0");
    divider.addEventListener("pointerdown", (event) => {
      divider.setPointerCapture(event.pointerId);
      event.preventDefault();
    });
    divider.addEventListener("pointermove", (event) => {
      if (divider.hasPointerCapture(event.pointerId)) this.setWidth(innerWidth - event.clientX);
    });
    divider.addEventListener("keydown", (event) => {
      const step = { ArrowLeft: kStep, ArrowRight: -kStep }[event.key];
      if (step === undefined) return;
      event.preventDefault();
      this.setWidth(this.kept.width + step);
    });
  }

  /** Puts the focus on the tab that is shown; returns false if the panel is not. */
  focus() {
    if (!this.kept.shown) return false;
    this.buttons.get(this.kept.tab).focus();
    return true;
  }
}

function mostWidth() {
  return Math.max(kLeastWidth, innerWidth - kLeastDesk);
}
