// The state as the host sends it, and its changes.
//
// Every JSON object becomes a Map: UIDs are any text of the add-on, and a key such as "__proto__"
// has a meaning of its own in a plain object. A document is never changed in place. A patch copies
// the parts on its path and shares the rest, so that a view compares by === what it has drawn.

/** Parses a text of the host; its objects become Maps. Throws SyntaxError for other texts. */
export function parseJson(text) {
  return JSON.parse(text, (key, value) => (isPlainObject(value) ? toMap(value) : value));
}

function isPlainObject(value) {
  return value !== null && typeof value === "object" && !Array.isArray(value) &&
      !(value instanceof Map);
}

function toMap(object) {
  return new Map(Object.entries(object));
}

export class PatchError extends Error {}

/**
 * Returns the document after the operations: add, remove and replace of RFC 6902, as parseJson()
 * returns them. Throws PatchError if one does not fit; the document is then still what it was.
 */
export function applyPatch(document, operations) {
  return operations.reduce(applyOperation, document);
}

function applyOperation(document, operation) {
  const path = splitPointer(operation.get("path"));
  if (path.length > 0) return changeBelow(document, path, 0, operation);
  if (operation.get("op") === "remove") throw new PatchError("the whole state cannot be removed");
  return valueOf(operation);
}

/** Returns the keys of a JSON Pointer; "" has none. */
export function splitPointer(pointer) {
  if (pointer === "") return [];
  if (typeof pointer !== "string" || !pointer.startsWith("/")) {
    throw new PatchError(`'${pointer}' is no path`);
  }
  // The order matters: "~01" is "~1" and not "/".
  return pointer.slice(1).split("/").map((key) => key.replaceAll("~1", "/").replaceAll("~0", "~"));
}

function changeBelow(node, path, depth, operation) {
  const key = path[depth];
  if (depth === path.length - 1) return changeMember(node, key, operation);
  const index = memberKey(node, key);
  return withMember(node, index, changeBelow(memberOf(node, index), path, depth + 1, operation));
}

// Returns the key of an existing member in the form that its container takes.
function memberKey(node, key) {
  if (node instanceof Map && node.has(key)) return key;
  if (Array.isArray(node) && isIndex(key) && Number(key) < node.length) return Number(key);
  throw new PatchError(`there is no '${key}'`);
}

function isIndex(key) {
  return /^(0|[1-9][0-9]*)$/.test(key);
}

function memberOf(node, key) {
  return node instanceof Map ? node.get(key) : node[key];
}

function withMember(node, key, value) {
  return node instanceof Map ? new Map(node).set(key, value) : node.with(key, value);
}

function changeMember(node, key, operation) {
  switch (operation.get("op")) {
    case "add": return addMember(node, key, valueOf(operation));
    case "replace": return withMember(node, memberKey(node, key), valueOf(operation));
    case "remove": return withoutMember(node, memberKey(node, key));
    default: throw new PatchError(`'${operation.get("op")}' is no operation`);
  }
}

function valueOf(operation) {
  if (!operation.has("value")) throw new PatchError("the operation has no value");
  return operation.get("value");
}

function addMember(node, key, value) {
  if (node instanceof Map) return new Map(node).set(key, value);
  if (Array.isArray(node) && key === "-") return [...node, value];
  if (Array.isArray(node) && isIndex(key) && Number(key) <= node.length) {
    return node.toSpliced(Number(key), 0, value);
  }
  throw new PatchError(`'${key}' cannot be added`);
}

function withoutMember(node, key) {
  if (!(node instanceof Map)) return node.toSpliced(key, 1);
  const rest = new Map(node);
  rest.delete(key);
  return rest;
}
