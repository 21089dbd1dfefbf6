// A combo box: a field that shows the chosen entry, and a list of all of them. The list opens and
// closes on the page alone; only a choice is an action.

import { element, newId, placeBeside, setAttribute, setText } from "./dom.js";
import { ItemView } from "./item_view.js";
import { TypeAhead } from "./keyboard.js";

export class ComboView extends ItemView {
  constructor(owner) {
    super(owner, "combo");
    this.shown = element("span", { class: "shown" });
    this.setControl(element("div", {
      class: "box", role: "combobox", "aria-haspopup": "listbox", "aria-expanded": "false",
    }, [this.shown, element("span", { class: "arrow", "aria-hidden": "true" })]));
    this.list = null;
    this.typeAhead = new TypeAhead();
    this.control.addEventListener("mousedown", (event) => this.onMouse(event));
    this.control.addEventListener("keydown", (event) => this.onKey(event));
    this.control.addEventListener("blur", () => this.close());
  }

  // A click only opens the list.
  get selectsForm() {
    return false;
  }

  draw(item) {
    setText(this.shown, item.get("shown"));
    setAttribute(this.control, "title", item.get("shown") || null);
    setAttribute(this.control, "tabindex", item.get("usable") ? "-1" : null);
    setAttribute(this.control, "aria-disabled", item.get("usable") ? null : "true");
    setAttribute(this.control, "aria-valuetext", item.get("shown"));
    if (!item.get("usable") || (this.list !== null && item.get("values") !== this.values)) {
      this.close();
    }
  }

  onMouse(event) {
    if (event.button !== 0 || event.altKey || !this.usable) return;
    event.preventDefault();
    this.focus();
    if (this.list === null) this.open();
    else this.close();
  }

  onKey(event) {
    if (event.ctrlKey || event.metaKey || !this.usable) return;
    const handled = this.list === null ? this.onClosedKey(event) : this.onOpenKey(event);
    if (!handled) return;
    event.preventDefault();
    event.stopPropagation();
  }

  onClosedKey(event) {
    if (["ArrowDown", "ArrowUp", "F4", " "].includes(event.key)) {
      this.open();
      return true;
    }
    if (event.key.length !== 1 || event.altKey) return false;
    this.open();
    this.find(event.key);
    return true;
  }

  onOpenKey(event) {
    const last = this.options.length - 1;
    switch (event.key) {
      case "ArrowDown": this.activate(Math.min(last, this.active + 1)); return true;
      case "ArrowUp":
        if (event.altKey) this.close();
        else this.activate(Math.max(0, this.active - 1));
        return true;
      case "Home": this.activate(0); return true;
      case "End": this.activate(last); return true;
      case "PageDown": this.activate(Math.min(last, this.active + 10)); return true;
      case "PageUp": this.activate(Math.max(0, this.active - 10)); return true;
      case "Escape": this.close(); return true;
      case "Enter": case " ": this.choose(this.active); return true;
      case "Tab": this.choose(this.active); return false;
      default: return event.key.length === 1 && this.find(event.key);
    }
  }

  open() {
    this.values = this.item.get("values");
    this.options = this.values.map(([value, key], index) => this.makeOption(value, key, index));
    this.list = element("div", {
      class: "comboList", role: "listbox", id: newId(),
      dir: getComputedStyle(this.element).direction,
      on: { mousedown: (event) => event.preventDefault() },
    }, this.options);
    document.getElementById("overlay").append(this.list);
    const box = this.control.getBoundingClientRect();
    this.list.style.minWidth = `${box.width}px`;
    placeBeside(this.list, box, { rtl: this.list.dir === "rtl" });
    setAttribute(this.control, "aria-expanded", "true");
    setAttribute(this.control, "aria-controls", this.list.id);
    this.activate(Math.max(0, this.item.get("chosen")));
  }

  makeOption(value, key, index) {
    return element("div", {
      class: "option", role: "option", id: newId(), "aria-selected": "false",
      on: {
        mousemove: () => this.activate(index),
        click: () => this.choose(index),
      },
    }, [element("bdi", { text: value === "" ? "\u00a0" : value }),
      element("bdi", { class: "key", text: key })]);
  }

  activate(index) {
    this.active = index;
    this.options.forEach((option, at) => {
      option.setAttribute("aria-selected", String(at === index));
    });
    const option = this.options[index];
    option?.scrollIntoView({ block: "nearest" });
    setAttribute(this.control, "aria-activedescendant", option?.id);
  }

  find(letter) {
    const found = this.typeAhead.find(letter, this.values.map(([value]) => value), this.active);
    if (found >= 0) this.activate(found);
    return true;
  }

  choose(index) {
    const values = this.values;
    this.close();
    if (index < 0 || index >= values.length) return;
    this.perform({ do: "choose", key: nameOfEntry(values, index) });
  }

  close() {
    if (this.list === null) return;
    this.list.remove();
    this.list = null;
    setAttribute(this.control, "aria-expanded", "false");
    setAttribute(this.control, "aria-controls", null);
    setAttribute(this.control, "aria-activedescendant", null);
  }

  remove() {
    this.close();
    super.remove();
  }
}

// The host looks an entry up by its key and then by its text. The text names an entry whose key
// belongs to an entry before it.
function nameOfEntry(values, index) {
  const [value, key] = values[index];
  return values.findIndex((entry) => entry[1] === key) === index ? key : value;
}
