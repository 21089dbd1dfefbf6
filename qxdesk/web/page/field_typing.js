// Typing into a text field. The field changes at once and the host learns of each change as an
// action. While actions wait, the field shows what the user has typed; then the host's text wins.

import { setAttribute } from "./dom.js";
import { describeChanges } from "./text_change.js";

/** The time that a change of the state may take to come after the reply to its action. */
const kStateMilliseconds = 300;

export class FieldTyping {
  /**
   * `send` takes the fields of an action that describe a change and gives a promise of its
   * outcome. `isFresh()` is false while the host's newest text is on its way.
   */
  constructor(input, { send, isFresh = () => true }) {
    this.input = input;
    this.send = send;
    this.isFresh = isFresh;
    this.model = "";
    this.sent = "";
    this.pending = 0;
    this.composing = false;
    this.replaces = false;
    this.timer = 0;
    // The selection is looked at before the browser puts the new text in its place; a composition
    // has a selection of its own from then on.
    input.addEventListener("beforeinput", () => {
      if (!this.composing) this.replaces = hasSelection(input);
    });
    input.addEventListener("compositionstart", () => {
      this.composing = true;
      this.replaces = hasSelection(input);
    });
    input.addEventListener("compositionend", () => {
      this.composing = false;
      this.report();
    });
    input.addEventListener("input", () => {
      if (!this.composing) this.report();
    });
  }

  /** Begins with another text, such as that of another cell. */
  reset(text) {
    clearTimeout(this.timer);
    this.pending = 0;
    this.model = text;
    this.input.classList.remove("vetoed");
    this.show(text);
  }

  /** Takes the host's text. */
  setModel(text) {
    const changed = text !== this.model;
    this.model = text;
    if (this.pending > 0 || this.composing) return;
    if (changed) clearTimeout(this.timer);
    if (changed || this.input.value !== text) this.show(text);
  }

  /** Takes back what has been typed and sends that. */
  change(text) {
    this.input.value = text;
    this.report();
  }

  show(text) {
    const { input } = this;
    this.sent = text;
    if (input.value === text) return;
    const caret = input.selectionStart;
    const atEnd = caret === input.value.length;
    input.value = text;
    if (document.activeElement !== input) return;
    const place = atEnd ? text.length : Math.min(caret, text.length);
    input.setSelectionRange(place, place);
  }

  report() {
    const changes = describeChanges(this.sent, this.input.value, this.replaces);
    this.replaces = false;
    this.sent = this.input.value;
    this.pending += changes.length;
    if (changes.length > 0) clearTimeout(this.timer);
    for (const change of changes) this.sendChange(change);
  }

  async sendChange(change) {
    const outcome = await this.send(change);
    this.pending = Math.max(0, this.pending - 1);
    if (outcome.result !== "done") this.failed = outcome.result;
    if (this.pending === 0) this.settle();
  }

  // A failed action leaves the host's text as it was, which the field then shows at once.
  settle() {
    const failed = this.failed;
    this.failed = undefined;
    if (failed !== undefined) this.mark();
    if (this.input.value === this.model && failed === undefined) return;
    if (failed !== undefined) this.restore();
    else this.timer = setTimeout(() => this.restore(), kStateMilliseconds);
  }

  restore() {
    if (this.pending === 0 && !this.composing && this.isFresh()) this.show(this.model);
  }

  mark() {
    const { input } = this;
    input.classList.remove("vetoed");
    void input.offsetWidth;  // the animation begins anew only if the class was really gone
    input.classList.add("vetoed");
    input.addEventListener("animationend", () => input.classList.remove("vetoed"), { once: true });
  }
}

function hasSelection(input) {
  return input.selectionStart !== input.selectionEnd;
}

/** What a field without a limit takes: the host closes a page that says too much at once. */
const kMostTyped = 8000;

/** Sets the number of UTF-16 units that a field takes; 0 stands for no limit. */
export function limitField(input, limit) {
  setAttribute(input, "maxlength", limit > 0 ? Math.min(limit, kMostTyped) : kMostTyped);
}

/** Makes a text field what those of the forms are, and returns it. */
export function prepareField(input) {
  input.type = "text";
  input.autocomplete = "off";
  input.spellcheck = false;
  input.setAttribute("autocapitalize", "off");
  return input;
}
