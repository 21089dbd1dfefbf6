// The items that hold no value of their own: buttons, labels and types without a picture.

import { element, setAttribute, setText } from "./dom.js";
import { ItemView } from "./item_view.js";
import { say, unsay } from "./say.js";

export class ButtonView extends ItemView {
  constructor(owner) {
    super(owner, "button");
    this.setControl(element("button", {
      type: "button",
      on: {
        click: (event) => {
          if (!event.altKey) this.perform({ do: "press" });
        },
      },
    }));
    this.sendLetters();
  }

  // The caption names a button.
  get takesName() {
    return false;
  }

  draw(item, { isDefault }) {
    setText(this.control, item.get("caption"));
    setAttribute(this.control, "title", item.get("description") || null);
    setAttribute(this.control, "aria-label",
      item.get("caption").trim() === "" ? item.get("description") || this.owner.itemUid : null);
    this.control.disabled = !item.get("usable");
    this.element.classList.toggle("default", isDefault);
    if (isDefault) say(this.control, "aria-description", "item.default");
    else unsay(this.control, "aria-description");
  }
}

export class StaticView extends ItemView {
  constructor(owner) {
    super(owner, "static");
    this.setControl(element("span", { class: "label" }));
    this.element.addEventListener("click", (event) => {
      if (!event.altKey && this.usable) this.perform({ do: "press" });
    });
  }

  get takesName() {
    return false;
  }

  draw(item) {
    setText(this.control, item.get("caption"));
    setAttribute(this.element, "title", item.get("caption") || null);
  }

  focus() {}
}

export class UnknownView extends ItemView {
  constructor(owner) {
    super(owner, "unknown");
    this.setControl(element("span", { class: "label" }));
  }

  get takesName() {
    return false;
  }

  draw(item) {
    setText(this.control, item.get("type"));
  }

  focus() {}
}
