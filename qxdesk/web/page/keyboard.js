// Keys that mean the same in several places: the parts of the page that F6 goes through, and the
// search for an entry by its first letters.

const kTypeAheadMilliseconds = 800;

/** Finds entries by the letters that a user types one after the other. */
export class TypeAhead {
  constructor() {
    this.typed = "";
    this.at = 0;
  }

  /**
   * Returns the index of the entry that begins with what was typed, the next one after `active` for
   * a first letter; -1 if there is none.
   */
  find(letter, entries, active) {
    const now = performance.now();
    const lower = letter.toLocaleLowerCase();
    this.typed = now - this.at > kTypeAheadMilliseconds ? lower : this.typed + lower;
    this.at = now;
    // The same letter again goes on to the next entry with it.
    const same = [...this.typed].every((one) => one === this.typed[0]);
    const wanted = same ? this.typed[0] : this.typed;
    const start = same ? active + 1 : Math.max(0, active);
    for (let step = 0; step < entries.length; step += 1) {
      const index = (start + step) % entries.length;
      if (entries[index].toLocaleLowerCase().startsWith(wanted)) return index;
    }
    return -1;
  }
}

/** Watches the keys of the whole page. */
export class Keyboard {
  /** `parts` are {element, focus()} in the order of F6; `menuBar` opens by F10 and Alt. */
  constructor(parts, menuBar) {
    this.parts = parts;
    this.menuBar = menuBar;
    this.lastWasKey = false;
    this.altAlone = false;
    addEventListener("keydown", (event) => this.onDown(event), true);
    addEventListener("keyup", (event) => this.onUp(event), true);
    addEventListener("mousedown", () => {
      this.lastWasKey = false;
      this.altAlone = false;
    }, true);
  }

  onDown(event) {
    this.lastWasKey = true;
    this.altAlone = event.key === "Alt" && !event.repeat && !event.ctrlKey && !event.shiftKey;
    if (document.querySelector("dialog[open]") !== null) return;
    if (event.key === "F10" && !event.shiftKey) {
      event.preventDefault();
      this.menuBar.toggle();
    } else if (event.key === "F6" && !event.ctrlKey) {
      event.preventDefault();
      this.nextPart(event.shiftKey ? -1 : 1);
    }
  }

  onUp(event) {
    if (event.key !== "Alt" || !this.altAlone) return;
    this.altAlone = false;
    if (document.querySelector("dialog[open]") !== null) return;
    event.preventDefault();
    this.menuBar.toggle();
  }

  nextPart(step) {
    const { parts } = this;
    const now = parts.findIndex((part) => part.element.contains(document.activeElement));
    for (let count = 1; count <= parts.length; count += 1) {
      const part = parts[(now + step * count + parts.length * 2) % parts.length];
      if (part.element.offsetParent === null && part.element.offsetWidth === 0) continue;
      if (part.focus()) return;
    }
  }
}
