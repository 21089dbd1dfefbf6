// The host's message box: a modal dialog. It stays until the host says that it has closed, since
// another page may answer it as well.

import { element, newId } from "./dom.js";
import { said, say } from "./say.js";

export class MessageBox {
  constructor(page) {
    this.page = page;
    this.dialog = null;
    this.box = null;
  }

  /** Shows the box of the state, or takes the dialog away if there is none. */
  update(box, direction) {
    if (box === this.box) return;
    if (box?.get("number") !== this.box?.get("number") || box === null) this.close();
    this.box = box;
    if (box !== null && this.dialog === null) this.open(box, direction);
  }

  open(box, direction) {
    const body = element("div", {
      class: "text", id: newId(), text: box.get("text"), dir: "auto",
    });
    const buttons = this.makeButtons(box);
    this.dialog = element("dialog", {
      class: "box", role: "alertdialog", dir: direction, "aria-describedby": body.id,
    }, [said(element("h2"), { text: "box.title" }), body,
      element("div", { class: "buttons" }, buttons.map(({ button }) => button))]);
    say(this.dialog, "aria-label", "box.title");
    this.dialog.addEventListener("cancel", (event) => {
      event.preventDefault();
      this.answer(escapeButton(box));
    });
    this.dialog.addEventListener("keydown", (event) => moveAmong(event, buttons));
    document.body.append(this.dialog);
    this.dialog.showModal();
    const first = buttons.find(({ number }) => number === box.get("default")) ?? buttons[0];
    first?.button.focus();
  }

  makeButtons(box) {
    return numbersOf(box).map((number) => ({
      number,
      button: element("button", {
        type: "button", text: box.get("buttons")[number - 1],
        class: number === box.get("default") ? "default" : "",
        on: { click: () => this.answer(number) },
      }),
    }));
  }

  async answer(button) {
    const box = this.box;
    if (box === null || this.answering === box) return;
    this.answering = box;
    const outcome = await this.page.actions.perform(
      { do: "answer", box: box.get("number"), button });
    if (outcome.result !== "done") this.answering = null;
  }

  close() {
    if (this.dialog === null) return;
    this.dialog.close();
    this.dialog.remove();
    this.dialog = null;
    this.answering = null;
    this.page.followFocus();
  }
}

// The numbers of the buttons that have a caption.
function numbersOf(box) {
  return box.get("buttons").flatMap((caption, at) => (caption === "" ? [] : [at + 1]));
}

// Escape is the last button: "Cancel" or "No" where there is one.
function escapeButton(box) {
  return numbersOf(box).at(-1) ?? box.get("default");
}

function moveAmong(event, buttons) {
  const step = { ArrowRight: 1, ArrowDown: 1, ArrowLeft: -1, ArrowUp: -1 }[event.key];
  if (step === undefined) return;
  const at = buttons.findIndex(({ button }) => button === document.activeElement);
  buttons[(at + step + buttons.length) % buttons.length]?.button.focus();
  event.preventDefault();
}
