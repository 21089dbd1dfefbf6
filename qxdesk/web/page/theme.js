// Light and dark: as the system has it, or as the user has chosen for this tab.

const kKey = "qxdesk.theme";

export const themes = ["auto", "light", "dark"];

/** Returns the name of the theme that is set. */
export function theme() {
  return document.documentElement.dataset.theme ?? "auto";
}

/** Sets the theme and remembers it for this tab. */
export function setTheme(name) {
  document.documentElement.dataset.theme = name;
  remember(kKey, name);
}

/** Sets the theme that this tab had. */
export function restoreTheme() {
  const name = recall(kKey, "auto");
  document.documentElement.dataset.theme = themes.includes(name) ? name : "auto";
}

/** Keeps a value for this tab; a browser that keeps nothing only forgets it. */
export function remember(key, value) {
  try {
    sessionStorage.setItem(key, JSON.stringify(value));
  } catch {
    // The page works without it.
  }
}

/** Returns a value that remember() has kept for this tab, or `otherwise`. */
export function recall(key, otherwise) {
  try {
    return JSON.parse(sessionStorage.getItem(key)) ?? otherwise;
  } catch {
    return otherwise;
  }
}
