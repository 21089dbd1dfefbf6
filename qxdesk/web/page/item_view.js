// What all items on a form have in common: a box at the item's place with the control inside. The
// place is counted from the side where the text begins, which mirrors a form from right to left.

import { element, newId, setAttribute } from "./dom.js";

/** Two clicks within this time are a double click, and the first is no action of its own. */
export const kDoubleClickMilliseconds = 250;

export class ItemView {
  /** `owner` has {page, formUid, itemUid}. A class that extends this one adds its `control`. */
  constructor(owner, kind) {
    this.owner = owner;
    this.item = null;
    this.waiting = 0;
    this.element = element("div", { class: `item ${kind}`, id: newId() });
    this.element.dataset.form = owner.formUid;
    this.element.dataset.item = owner.itemUid;
    this.control = null;
  }

  setControl(control) {
    this.control = control;
    control.id = newId();
    this.element.append(control);
  }

  /** Draws the item; `around` has what its form says about it: {isDefault, labelId}. */
  update(item, around) {
    const [left, top, width, height] = item.get("rect");
    const { style } = this.element;
    style.insetInlineStart = `${left}px`;
    style.top = `${top}px`;
    style.width = `${Math.max(0, width)}px`;
    style.height = `${Math.max(0, height)}px`;
    this.item = item;
    this.element.classList.toggle("unusable", !item.get("usable"));
    this.nameControl(around.labelId);
    this.draw(item, around);
  }

  /** Draws the item if it, its name or its rank as the default item has changed. */
  updateIfChanged(item, around) {
    const { isDefault, labelId } = around;
    const known = this.around;
    if (item === this.item && known.isDefault === isDefault && known.labelId === labelId) return;
    this.around = around;
    this.update(item, around);
  }

  // A label names the control; without one, its description does.
  nameControl(labelId) {
    const { control, item } = this;
    if (!this.takesName) return;
    setAttribute(control, "aria-labelledby", labelId);
    const name = item.get("description") || this.owner.itemUid;
    setAttribute(control, "aria-label", labelId === undefined ? name : null);
  }

  get takesName() {
    return true;
  }

  get usable() {
    return this.item?.get("usable") === true;
  }

  /** True if a click on the item is an action of its own, which selects the form, too. */
  get selectsForm() {
    return this.usable;
  }

  /** Sends an action on this item and marks the item while the action waits. */
  async perform(fields) {
    const { page, formUid, itemUid } = this.owner;
    this.waiting += 1;
    this.element.classList.add("waiting");
    const outcome = await page.actions.perform({ form: formUid, item: itemUid, ...fields });
    this.waiting -= 1;
    this.element.classList.toggle("waiting", this.waiting > 0);
    if (outcome.result !== "done") page.followFocus();
    return outcome;
  }

  /** Sends the letters that are pressed on the item and have no meaning here. */
  sendLetters(takes = () => true) {
    this.control.addEventListener("keydown", (event) => {
      const hasOther = event.ctrlKey || event.altKey || event.metaKey || event.isComposing;
      const isLetter = [...event.key].length === 1 && event.key !== " ";
      if (event.defaultPrevented || hasOther || !isLetter || !this.usable || !takes()) return;
      // A character of two UTF-16 units is two keys for the host.
      for (const unit of event.key.split("")) this.perform({ do: "key", key: unit.charCodeAt(0) });
    });
  }

  /** Takes the focus of the page; `byKey` is true if the user came with the tab key. */
  focus() {
    if (document.activeElement !== this.control) this.control.focus({ preventScroll: false });
  }

  /** Closes what hangs on the item, such as a list. */
  remove() {
    this.element.remove();
  }
}
