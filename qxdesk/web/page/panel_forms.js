// The tab with the open forms: what each holds, its items and its data sources. Selecting an item
// here outlines it on the desk; Alt+click on the desk selects it here.

import { element, setAttribute, setText } from "./dom.js";
import { text } from "./texts.js";

const kDrawMilliseconds = 150;

export class FormsTab {
  constructor(page) {
    this.page = page;
    this.forms = new Map();
    this.order = [];
    this.opened = new Map();
    this.selected = null;
    this.shown = false;
    this.timer = 0;
    this.tree = element("div", {
      class: "formsTree", role: "tree", "aria-label": text("panel.forms"),
      on: { keydown: (event) => this.onKey(event) },
    });
    this.element = element("div", { class: "tab" },
      [element("p", { class: "hint", text: text("forms.hint") }), this.tree]);
  }

  update(state) {
    if (state.get("forms") === this.forms && state.get("order") === this.order) return;
    this.forms = state.get("forms");
    this.order = state.get("order");
    if (!this.shown || this.timer !== 0) return;
    this.timer = setTimeout(() => this.draw(), kDrawMilliseconds);
  }

  setShown(shown) {
    this.shown = shown;
    if (shown) this.draw();
    else this.page.desk?.outline(null, null);
  }

  /** Selects an item, or the form if `item` is null, and shows it. */
  select(form, item) {
    this.opened.set(form, true);
    this.choose({ form, item: item ?? "" });
    this.draw();
    this.tree.querySelector("[aria-selected=true]")?.scrollIntoView({ block: "nearest" });
  }

  choose(place) {
    this.selected = place;
    this.page.desk.outline(place.form, place.item);
  }

  draw() {
    clearTimeout(this.timer);
    this.timer = 0;
    const hadFocus = this.tree.contains(document.activeElement);
    const rows = this.order.flatMap((uid) => this.rowsOfForm(uid, this.forms.get(uid)));
    if (rows.length === 0) rows.push(element("p", { class: "hint", text: text("forms.none") }));
    const top = this.tree.scrollTop;
    this.tree.replaceChildren(...rows);
    this.tree.scrollTop = top;
    this.setRoving(this.tree.querySelector("[aria-selected=true]") ?? this.rows[0], hadFocus);
  }

  get rows() {
    return [...this.tree.querySelectorAll("[role=treeitem]")];
  }

  rowsOfForm(uid, form) {
    if (form === undefined) return [];
    const isOpen = this.opened.get(uid) ?? form.get("system") !== true;
    const words = [form.get("mode")];
    if (!form.get("visible")) words.push(text("forms.hidden"));
    if (form.get("frozen")) words.push(text("forms.frozen"));
    const head = this.makeRow(1, { form: uid, item: "" },
      [uid, form.get("type"), form.get("rect").join(" "), form.get("title"), words.join(", ")]);
    setAttribute(head, "aria-expanded", String(isOpen));
    head.classList.add("formRow");
    head.addEventListener("dblclick", () => this.expand(uid, !isOpen));
    head.firstElementChild.addEventListener("click", () => this.expand(uid, !isOpen));
    return isOpen ? [head, ...this.itemRows(uid, form), ...this.sourceRows(form)] : [head];
  }

  itemRows(uid, form) {
    return form.get("order").map((itemUid) => {
      const item = form.get("items").get(itemUid);
      const row = this.makeRow(2, { form: uid, item: itemUid }, [
        itemUid, item.get("type"), item.get("rect").join(" "), valueOf(item),
        item.get("source") ?? ""]);
      row.classList.toggle("off", !item.get("usable"));
      return row;
    });
  }

  sourceRows(form) {
    const sources = form.get("sources");
    if (sources.size === 0) return [];
    // In the columns of the items: name, type, no place, value.
    const rows = [...sources].map(([uid, source]) => element("div", { class: "sourceRow" },
      [uid, `${source.get("type")}/${source.get("size")}`, "", source.get("value"), ""]
        .map(makePart)));
    return [element("h4", { text: text("forms.sources") }), ...rows];
  }

  makeRow(level, place, parts) {
    const isSelected = this.selected?.form === place.form && this.selected.item === place.item;
    const row = element("div", {
      class: "treeRow", role: "treeitem", tabindex: "-1", "aria-level": level,
      "aria-selected": String(isSelected),
      on: { click: () => this.onClick(row, place) },
    }, [element("span", { class: "twisty", "aria-hidden": "true" }), ...parts.map(makePart)]);
    row.place = place;
    return row;
  }

  expand(uid, isOpen) {
    this.opened.set(uid, isOpen);
    this.draw();
  }

  onClick(row, place) {
    this.choose(place);
    this.setRoving(row, true);
  }

  setRoving(active, takeFocus) {
    for (const row of this.rows) {
      setAttribute(row, "tabindex", row === active ? "0" : "-1");
      setAttribute(row, "aria-selected", String(
        row.place.form === this.selected?.form && row.place.item === this.selected.item));
    }
    if (takeFocus) active?.focus({ preventScroll: false });
  }

  onKey(event) {
    const { rows } = this;
    const at = rows.indexOf(document.activeElement);
    if (at < 0) return;
    const { place } = rows[at];
    const next = { ArrowDown: at + 1, ArrowUp: at - 1, Home: 0, End: rows.length - 1 }[event.key];
    if (next !== undefined) {
      const row = rows[Math.max(0, Math.min(next, rows.length - 1))];
      this.choose(row.place);
      this.setRoving(row, true);
    } else if (event.key === "ArrowRight" || event.key === "ArrowLeft") {
      this.choose({ form: place.form, item: event.key === "ArrowRight" ? place.item : "" });
      this.expand(place.form, event.key === "ArrowRight");
    } else return;
    event.preventDefault();
  }
}

function makePart(part) {
  const made = element("bdi", { class: "part" });
  setText(made, part);
  made.title = part;
  return made;
}

function valueOf(item) {
  switch (item.get("type")) {
    case "edit": return item.get("text");
    case "combo": return item.get("shown");
    case "matrix":
      return text("forms.rows", { rows: item.get("rows"), revision: item.get("revision") });
    default: return item.get("caption") ?? "";
  }
}
