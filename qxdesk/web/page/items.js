// The views of the item types.

import { ComboView } from "./item_combo.js";
import { EditView } from "./item_edit.js";
import { MatrixView } from "./item_matrix.js";
import { ButtonView, StaticView, UnknownView } from "./item_simple.js";

const kViews = new Map([
  ["button", ButtonView],
  ["static", StaticView],
  ["edit", EditView],
  ["combo", ComboView],
  ["matrix", MatrixView],
]);

/** Returns a new view of an item of that type. */
export function createItemView(type, owner) {
  return new (kViews.get(type) ?? UnknownView)(owner);
}
