// Texts of the page that stay on the screen. They are said again when the client's language
// changes, so that no view has to be made anew.

import { setAttribute, setText } from "./dom.js";
import { text } from "./texts.js";

const sentences = new WeakMap();

/** Writes a text of the page to a place of an element: "text", or the name of an attribute. */
export function say(target, place, key, values = {}) {
  if (!sentences.has(target)) sentences.set(target, new Map());
  sentences.get(target).set(place, { key, values });
  setAttribute(target, "data-said", "");
  write(target, place, text(key, values));
}

/** Takes a text away that say() has written. */
export function unsay(target, place) {
  sentences.get(target)?.delete(place);
  if (place === "text") setText(target, "");
  else setAttribute(target, place, null);
}

/** Writes texts to several places, {place: key}, and returns the element. */
export function said(target, keys) {
  for (const [place, key] of Object.entries(keys)) say(target, place, key);
  return target;
}

/** Writes all of them again, in the language that texts.js has now. */
export function sayAgain() {
  for (const target of document.querySelectorAll("[data-said]")) {
    for (const [place, { key, values }] of sentences.get(target) ?? []) {
      write(target, place, text(key, values));
    }
  }
}

function write(target, place, sentence) {
  if (place === "text") setText(target, sentence);
  else setAttribute(target, place, sentence);
}
