// A text field on a form.

import { element } from "./dom.js";
import { FieldTyping, limitField, prepareField } from "./field_typing.js";
import { ItemView, kDoubleClickMilliseconds } from "./item_view.js";

const kBold = 1;
const kItalic = 2;
const kUnderline = 4;

export class EditView extends ItemView {
  constructor(owner) {
    super(owner, "edit");
    this.setControl(prepareField(element("input")));
    this.typing = new FieldTyping(this.control, { send: (change) => this.perform(change) });
    this.control.addEventListener("click", (event) => {
      if (event.detail <= 1 && !event.altKey) this.click();
    });
    // Two clicks also select a word, and three the whole text; the third is not for the host.
    this.control.addEventListener("dblclick", (event) => {
      if (event.altKey) return;
      this.owner.page.actions.forgetHeld();
      this.perform({ do: "double" });
    });
  }

  click() {
    const action = { do: "press" };
    this.owner.page.actions.hold(action, kDoubleClickMilliseconds, () => this.perform(action));
  }

  // Who comes with a key replaces the text by typing.
  focus() {
    if (document.activeElement === this.control) return;
    super.focus();
    if (this.owner.page.keyboard.lastWasKey) this.control.select();
  }

  draw(item) {
    const { control } = this;
    control.disabled = !item.get("usable");
    limitField(control, item.get("limit"));
    control.classList.toggle("right", item.get("right") === true);
    applyStyle(control, item.get("style"));
    this.typing.setModel(item.get("text"));
  }
}

/** Applies the style of an edit; what it leaves open is as in other edits. */
export function applyStyle(target, style) {
  const css = target.style;
  const flags = style?.get("text") ?? 0;
  css.color = colorOf(style?.get("fore"));
  css.backgroundColor = colorOf(style?.get("back"));
  css.fontWeight = flags & kBold ? "bold" : "";
  css.fontStyle = flags & kItalic ? "italic" : "";
  css.textDecoration = flags & kUnderline ? "underline" : "";
  const size = style?.get("size") ?? 0;
  css.fontSize = size > 0 ? `${size}px` : "";
}

/** Returns the CSS colour of a number with red in its lowest byte; empty for a negative one. */
export function colorOf(number) {
  if (typeof number !== "number" || number < 0) return "";
  return `rgb(${number & 255} ${(number >> 8) & 255} ${(number >> 16) & 255})`;
}
