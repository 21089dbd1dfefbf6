// The action that tells the host how a text has changed.

const kFirstPrintable = 32;
const kDelete = 127;

/**
 * Returns the fields of an action that makes `after` of `before`, or null if they are equal. One
 * printable UTF-16 unit at the end is a key; every other change sends the whole text. Half of a
 * pair of units is no key: the host could not show the text between the two. Alone, it is replaced.
 */
export function describeChange(before, after) {
  if (before === after) return null;
  if (after.length === before.length + 1 && after.startsWith(before)) {
    const unit = after.charCodeAt(before.length);
    if (isPrintable(unit)) return { do: "key", key: unit };
  }
  return { do: "type", text: after.toWellFormed() };
}

function isPrintable(unit) {
  const isHalf = unit >= 0xd800 && unit <= 0xdfff;
  return unit >= kFirstPrintable && unit !== kDelete && !isHalf;
}
