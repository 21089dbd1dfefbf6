// The status bar: the host's last message with its kind as sign, word and colour, the outcome of
// the user's last action, the progress bar, and the list of the last messages.

import { element, setAttribute, setText } from "./dom.js";
import { said, say } from "./say.js";

const kSigns = new Map([["none", ""], ["warning", "▲"], ["error", "✖"], ["info", "ℹ"]]);
const kAlerts = new Set(["warning", "error"]);

export class StatusBar {
  constructor(page, root) {
    this.page = page;
    this.element = root;
    this.timer = 0;
    say(root, "aria-label", "status.region");
    this.sign = element("span", { class: "sign", "aria-hidden": "true" });
    // Two places, so that a screen reader interrupts for what is urgent only.
    this.quiet = element("span", { class: "message", role: "status" });
    this.urgent = element("span", { class: "message", role: "alert" });
    this.line = element("div", { class: "line" }, [this.sign, this.quiet, this.urgent]);
    this.notice = element("div", { class: "notice", role: "status" });
    this.history = new MessageHistory();
    this.makeProgress();
    root.append(this.line, this.notice, this.progress, this.history.button);
  }

  makeProgress() {
    this.progressText = element("span", { class: "progressText" });
    this.progressPart = element("div", { class: "part" });
    this.progressBar = element("div", { class: "progressBar", role: "progressbar" },
      [this.progressPart]);
    this.stop = said(element("button", {
      type: "button", class: "stop", on: { click: () => this.stopProgress() },
    }), { text: "progress.stop" });
    this.progress = element("div", { class: "progress" },
      [this.progressText, this.progressBar, this.stop]);
    this.showProgress(null);
  }

  stopProgress() {
    this.page.actions.perform({ do: "stop", progress: this.shownProgress });
  }

  update(state) {
    if (state.get("status") !== this.status) this.showStatus(state.get("status"));
    this.status = state.get("status");
    this.showProgress(state.get("progress"));
    this.history.update(state.get("messages"));
  }

  showStatus(status) {
    const kind = status?.get("text") ? status.get("kind") : "none";
    const shown = status?.get("text") ?? "";
    const isAlert = kAlerts.has(kind);
    this.line.dataset.kind = kind;
    setText(this.sign, kSigns.get(kind) ?? "");
    fillMessage(this.quiet, isAlert ? "" : shown, kind);
    fillMessage(this.urgent, isAlert ? shown : "", kind);
    setAttribute(this.line, "title", shown || null);
  }

  showProgress(progress) {
    this.progress.classList.toggle("empty", progress === null);
    this.showStop(progress?.get("stoppable") === true);
    this.shownProgress = progress?.get("number");
    if (progress === null) return;
    const value = progress.get("value");
    const maximum = Math.max(0, progress.get("maximum"));
    setText(this.progressText, progress.get("text"));
    setAttribute(this.progressText, "title", progress.get("text"));
    setAttribute(this.progressBar, "aria-label", progress.get("text"));
    setAttribute(this.progressBar, "aria-valuemin", 0);
    setAttribute(this.progressBar, "aria-valuemax", maximum);
    setAttribute(this.progressBar, "aria-valuenow", value);
    say(this.progressBar, "aria-valuetext", "progress.value", { value, maximum });
    const part = maximum > 0 ? Math.min(1, Math.max(0, value / maximum)) : 0;
    this.progressPart.style.width = `${part * 100}%`;
  }

  // A button that goes away would leave the focus nowhere.
  showStop(shown) {
    if (!shown && document.activeElement === this.stop) this.history.button.focus();
    this.stop.hidden = !shown;
  }

  /** Shows a sentence about the user's last action; an empty one takes it away. */
  showNotice(sentence) {
    setText(this.notice, sentence);
    setAttribute(this.notice, "title", sentence || null);
  }

  /** Puts the focus on the stop of the progress bar or, without one, on the list of messages. */
  focus() {
    (this.stop.hidden ? this.history.button : this.stop).focus();
    return true;
  }
}

// The word of the kind is part of the message, since the sign is hidden from a screen reader.
function fillMessage(target, shown, kind) {
  if (shown === "") {
    target.replaceChildren();
    return;
  }
  const name = said(element("span"), { text: `status.${kind}` });
  const word = element("bdi", { class: "word" }, [name, ":"]);
  target.replaceChildren(...(kind === "none" ? [] : [word, " "]), element("bdi", { text: shown }));
}

// The last messages in a list above their button.
class MessageHistory {
  constructor() {
    this.messages = [];
    this.list = null;
    this.button = said(element("button", {
      type: "button", class: "history", "aria-expanded": "false",
      on: {
        click: () => this.toggle(),
        blur: () => this.close(),
        keydown: (event) => {
          if (event.key === "Escape") this.close();
        },
      },
    }), { text: "status.history" });
  }

  update(messages) {
    if (messages === this.messages) return;
    this.messages = messages;
    if (this.list !== null) this.fill();
  }

  toggle() {
    if (this.list !== null) {
      this.close();
      return;
    }
    this.list = said(element("ol", {
      class: "messageList", dir: getComputedStyle(this.button).direction, "aria-live": "polite",
      on: { mousedown: (event) => event.preventDefault() },
    }), { "aria-label": "status.history" });
    document.getElementById("overlay").append(this.list);
    setAttribute(this.button, "aria-expanded", "true");
    this.fill();
    const bar = this.button.parentElement.getBoundingClientRect();
    this.list.style.bottom = `${innerHeight - bar.top}px`;
    this.list.style.left = `${bar.left}px`;
    this.list.style.width = `${bar.width}px`;
  }

  fill() {
    const rows = this.messages.map((message) => {
      const kind = message.get("kind");
      const row = element("li", {}, [
        element("span", { class: "sign", "aria-hidden": "true", text: kSigns.get(kind) ?? "" }),
        said(element("span", { class: "word" }), { text: `status.${kind}` }),
        element("bdi", { text: message.get("text") })]);
      row.dataset.kind = kind;
      return row;
    });
    const empty = said(element("li"), { text: "status.history.empty" });
    this.list.replaceChildren(...(rows.length > 0 ? rows : [empty]));
    this.list.scrollTop = this.list.scrollHeight;
  }

  close() {
    this.list?.remove();
    this.list = null;
    setAttribute(this.button, "aria-expanded", "false");
  }
}
