// The actions that tell the host how a text has changed.

const kFirstPrintable = 32;
const kDelete = 127;

/**
 * Returns the fields of the actions that make `after` of `before`; none if they are equal. One
 * printable character at the end is a key, or two for a character of two UTF-16 units. Every other
 * change sends the whole text. So does a text that took the place of a selection (`replaces`): the
 * user has typed it even if it is the same one, and then leaves a changed field.
 */
export function describeChanges(before, after, replaces = false) {
  if (replaces) return [{ do: "type", text: after.toWellFormed() }];
  if (before === after) return [];
  const added = after.startsWith(before) ? [...after.slice(before.length)] : [];
  if (added.length === 1 && isPrintable(added[0])) {
    return added[0].split("").map((unit) => ({ do: "key", key: unit.charCodeAt(0) }));
  }
  return [{ do: "type", text: after.toWellFormed() }];
}

function isPrintable(character) {
  const code = character.codePointAt(0);
  return code >= kFirstPrintable && code !== kDelete && character.isWellFormed();
}
