// Builds elements. Texts become text nodes only, so that no text of an add-on is ever markup.

/**
 * Returns a new element. `properties` are attributes, except `class`, `text` and `on`, a table of
 * listeners; an attribute that is null, undefined or false is left out.
 */
export function element(tag, properties = {}, children = []) {
  const made = document.createElement(tag);
  for (const [name, value] of Object.entries(properties)) {
    if (name === "class") made.className = value;
    else if (name === "text") made.textContent = value;
    else if (name === "on") listen(made, value);
    else setAttribute(made, name, value);
  }
  made.append(...children);
  return made;
}

function listen(target, listeners) {
  for (const [kind, listener] of Object.entries(listeners)) target.addEventListener(kind, listener);
}

/** Sets an attribute, or removes it for null, undefined and false. Writes only what differs. */
export function setAttribute(target, name, value) {
  if (value === null || value === undefined || value === false) {
    if (target.hasAttribute(name)) target.removeAttribute(name);
    return;
  }
  const text = value === true ? "" : String(value);
  if (target.getAttribute(name) !== text) target.setAttribute(name, text);
}

/** Sets the text of an element that has no other children. Writes only what differs. */
export function setText(target, text) {
  if (target.textContent !== text) target.textContent = text;
}

let lastId = 0;

/** Returns an id for an element. UIDs are any text, so ids are never made of them. */
export function newId() {
  lastId += 1;
  return `n${lastId}`;
}

/** Keeps `target` beside the rectangle `anchor`: below it, or above if there is no room. */
export function placeBeside(target, anchor, { toTheSide = false, rtl = false } = {}) {
  const size = target.getBoundingClientRect();
  let left = rtl ? anchor.right - size.width : anchor.left;
  let top = anchor.bottom;
  if (toTheSide) {
    left = rtl ? anchor.left - size.width : anchor.right;
    top = anchor.top;
    if (left + size.width > innerWidth) left = anchor.left - size.width;
    if (left < 0) left = anchor.right;
  }
  if (top + size.height > innerHeight) {
    top = toTheSide ? innerHeight - size.height : anchor.top - size.height;
  }
  target.style.left = `${Math.max(0, Math.min(left, innerWidth - size.width))}px`;
  target.style.top = `${Math.max(0, top)}px`;
}
