// What the page says over the desk without taking anything away: that the add-on works, and that
// the connection is gone.

import { element, setText } from "./dom.js";
import { said, say, unsay } from "./say.js";

/** The notice while the add-on is in a handler. */
export class BusyNotice {
  constructor(root) {
    this.element = element("div", { class: "busyNotice", role: "status" });
    this.busy = false;
    this.count = 0;
    root.append(this.element);
  }

  setBusy(busy) {
    this.busy = busy;
    this.show();
  }

  setWaiting(count) {
    this.count = count;
    this.show();
  }

  show() {
    this.element.classList.toggle("shown", this.busy);
    if (!this.busy) {
      unsay(this.element, "text");
      return;
    }
    say(this.element, "text", this.count > 0 ? "busy.waiting" : "busy.notice",
      { count: this.count });
  }
}

/** The notice without a connection, with a button that connects at once. */
export class LinkNotice {
  constructor(root, reconnect) {
    this.timer = 0;
    this.sentence = element("p", { class: "what" });
    this.why = element("p", { class: "why" });
    this.next = element("p", { class: "next" });
    this.button = said(element("button", { type: "button", on: { click: reconnect } }),
      { text: "link.reconnect" });
    // The seconds that are left are no news for a screen reader.
    const alert = element("div", { role: "alert" }, [this.sentence, this.why]);
    this.element = element("div", { class: "linkNotice" },
      [element("div", { class: "frame" }, [alert, this.next, this.button])]);
    root.append(this.element);
    this.isLost = false;
  }

  /** Shows a change of the connection, see Connection. */
  update({ kind, why = "", pause = 0 }) {
    clearInterval(this.timer);
    if (kind === "open") this.isLost = false;
    if (kind === "lost" || kind === "ended") this.lose(kind, why);
    this.element.classList.toggle("shown", kind !== "open");
    if (kind === "connecting") {
      if (!this.isLost) say(this.sentence, "text", "link.connecting");
      if (this.isLost) say(this.next, "text", "link.trying");
      else unsay(this.next, "text");
    } else if (kind !== "open") this.countDown(pause);
  }

  // Tries that fail after the client has ended say no more than that it has ended.
  lose(kind, why) {
    const isNews = kind === "ended" || !this.isLost;
    this.isLost = true;
    if (!isNews) return;
    say(this.sentence, "text", `link.${kind}`);
    setText(this.why, why);
  }

  countDown(pause) {
    const end = performance.now() + pause;
    const show = () => {
      const seconds = Math.max(0, Math.ceil((end - performance.now()) / 1000));
      say(this.next, "text", "link.again", { seconds });
    };
    show();
    this.timer = setInterval(show, 500);
  }
}
