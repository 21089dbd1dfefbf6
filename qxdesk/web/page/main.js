// The page: it joins the connection, the desk and the author's panel. Views get this object as
// their `page`.

import { Actions, describeOutcome } from "./actions.js";
import { ClientTools } from "./client_tools.js";
import { Connection } from "./connection.js";
import { Desk } from "./desk.js";
import { setAttribute } from "./dom.js";
import { Keyboard } from "./keyboard.js";
import { MenuBar } from "./menu_bar.js";
import { MenuPopup } from "./menu_popup.js";
import { MessageBox } from "./message_box.js";
import { BusyNotice, LinkNotice } from "./notices.js";
import { Panel } from "./panel.js";
import { sayAgain } from "./say.js";
import { StatusBar } from "./status_bar.js";
import { text, useTexts } from "./texts.js";
import { restoreTheme } from "./theme.js";

const kNoticeMilliseconds = 10000;

class Page {
  constructor() {
    const byId = (id) => document.getElementById(id);
    this.client = byId("client");
    this.connection = new Connection(this);
    this.actions = new Actions((action) => this.connection.send(action),
      (action, outcome) => this.outcomeCame(action, outcome),
      (count) => this.waitingChanged(count));
    this.tools = new ClientTools(this);
    this.menuBar = new MenuBar(this, byId("menuBar"), this.tools.element);
    this.desk = new Desk(this, byId("desk"));
    this.busyNotice = new BusyNotice(this.client);
    this.linkNotice = new LinkNotice(this.client, () => this.connection.open());
    this.statusBar = new StatusBar(this, byId("statusBar"));
    this.messageBox = new MessageBox(this);
    this.panel = new Panel(this, byId("panel"), byId("divider"));
    this.keyboard = new Keyboard([
      { element: byId("menuBar"), focus: () => this.menuBar.focus() },
      { element: byId("desk"), focus: () => this.desk.takeFocus() },
      { element: byId("statusBar"), focus: () => this.statusBar.focus() },
      { element: byId("panel"), focus: () => this.panel.focus() },
    ], this.menuBar);
  }

  /** Draws a state. Each view draws only what differs from the state that it has drawn. */
  stateChanged(state) {
    const client = state.get("client");
    const direction = client.get("direction") === "rtl" ? "rtl" : "ltr";
    setAttribute(this.client, "dir", direction);
    setAttribute(this.client, "lang", client.get("locale") || null);
    if (client.get("texts") !== this.texts) this.changeTexts(client.get("texts"));
    this.tools.update(client);
    this.menuBar.update(state);
    this.desk.update(state);
    this.statusBar.update(state);
    this.messageBox.update(state.get("box"), direction);
    this.panel.tabs.get("forms").update(state);
  }

  async changeTexts(table) {
    this.texts = table;
    if (await useTexts(table)) sayAgain();
  }

  textCame(kind, message) {
    const { tabs } = this.panel;
    switch (kind) {
      case "reply": case "rows": this.actions.takeReply(message); break;
      case "busy": this.busyNotice.setBusy(message.get("busy") === true); break;
      case "events": tabs.get("events").add(message.get("list")); break;
      case "statements": tabs.get("statements").add(message.get("list")); break;
      case "log": tabs.get("log").addText(message.get("text")); break;
      default: break;  // a later host may have more to say
    }
  }

  linkChanged(link) {
    this.linkNotice.update(link);
    this.client.classList.toggle("offline", link.kind !== "open");
    if (link.kind === "open") {
      if (this.panel.isShown) this.panel.ask();
      return;
    }
    this.busyNotice.setBusy(false);
    this.messageBox.update(null);
    this.actions.loseAll();
  }

  // A screen reader then waits with its announcements, and a test with its next step.
  waitingChanged(count) {
    setAttribute(this.client, "aria-busy", count > 0 ? "true" : null);
    this.busyNotice.setWaiting(count);
  }

  outcomeCame(action, outcome) {
    this.showNotice(describeOutcome(action, outcome));
  }

  /** Shows a text of the page in the status area. */
  notice(key) {
    this.showNotice(text(key));
  }

  showNotice(sentence) {
    clearTimeout(this.noticeTimer);
    this.statusBar.showNotice(sentence);
    if (sentence === "") return;
    this.noticeTimer = setTimeout(() => this.statusBar.showNotice(""), kNoticeMilliseconds);
  }

  followFocus() {
    if (this.messageBox.dialog === null) this.desk.followFocus();
  }

  /** Brings the focus from a menu back to the desk. */
  leaveMenus() {
    if (this.messageBox.dialog === null) this.desk.takeFocus();
  }

  /** Opens a menu of the page beneath a button. */
  openMenu(anchor, entries) {
    const popup = new MenuPopup(entries, {
      anchor, owner: { closed: (back) => { if (back) this.leaveMenus(); } },
    });
    const checked = entries.findIndex((entry) => entry.checked === true);
    if (checked >= 0) popup.activate(checked);
    else popup.activateFirst();
  }

  /** Shows an item, or a form if `item` is null, in the author's panel. */
  showInPanel(form, item) {
    this.panel.show("forms");
    this.panel.tabs.get("forms").select(form, item);
  }
}

restoreTheme();
new Page().connection.open();
