// Spanish of Latin America; what is not here is as in Spain. The keys are those of texts.js.

import { texts as ofSpain } from "./texts_3082.js";

export const texts = {
  ...ofSpain,
  "window.move.hint": "Mueva la ventana con las teclas de flecha; Enter termina, Escape lo deshace.",
  "mode.ok": "OK",
  "mode.add": "Agregar",
  "keys.Tab": "siguiente elemento; con Shift el elemento anterior",
  "keys.CtrlSpace": "hace clic en una celda con Ctrl: agrega su fila a la selección o la quita",
};
