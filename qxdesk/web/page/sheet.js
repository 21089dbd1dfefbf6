// A sheet with one form in all languages. The data come from the file itself and not from a host.

import { element } from "./dom.js";
import { FormWindow } from "./form_window.js";
import { parseJson } from "./json_patch.js";

// What a form asks of its page. Nobody answers on a sheet, and nothing happens.
const kPage = {
  actions: { perform: async () => new Map(), hold() {}, forgetHeld() {}, sendNow() {} },
  keyboard: { lastWasKey: false },
  followFocus() {},
  notice() {},
  openMenu() {},
  showInPanel() {},
};

function describe(wide) {
  const place = [wide.get("item") || "title", wide.get("column")].filter((name) => name !== "");
  return `${place.join(", ")}: “${wide.get("text")}” takes ${wide.get("needed")} of ` +
    `${wide.get("room")} pixels`;
}

// Marks the place of a text that does not fit, and says by how much.
function mark(window, wide) {
  const view = window.views.get(wide.get("item"));
  const target = wide.get("item") === "" ? window.bar : view?.element;
  target?.classList.add("wide");
  return element("li", { text: describe(wide) });
}

function draw(entry) {
  const window = new FormWindow(kPage, entry.get("code"));
  window.update(entry.get("form"), true);
  window.element.inert = true;
  const wide = entry.get("wide").map((each) => mark(window, each));
  const desk = element("div", {
    class: "sheetDesk", dir: entry.get("direction"), lang: entry.get("code").toLowerCase(),
  }, [window.element]);
  const title = `${entry.get("language")} (${entry.get("id")})`;
  return element("section", { class: "sheetForm", "aria-label": title },
    [element("h2", { text: title }), desk, element("ul", {}, wide)]);
}

const data = parseJson(document.getElementById("data").textContent);
document.title = data.get("title");
document.body.append(element("h1", { text: data.get("title") }),
  element("main", { class: "sheet" }, data.get("forms").map(draw)));
