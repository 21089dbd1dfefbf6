// The page's own texts. `{name}` is replaced by the value of that name. The other languages of the
// client are in texts_NUMBER.js, where the number is that of the host's string table. They have the
// keys of `english` but for those of the author's panel, which is for developers and stays English.

const english = new Map(Object.entries({
  "client.title": "{company} – {user}",
  "client.language": "Language",
  "client.theme": "Colours",
  "client.theme.auto": "As the system",
  "client.theme.light": "Light",
  "client.theme.dark": "Dark",
  "client.keys": "Keys",
  "client.panel.show": "Show the author's panel",
  "client.panel.hide": "Hide the author's panel",
  "menu.bar": "Menu bar",
  "desk": "Desk",
  "window.menu": "Window menu",
  "window.close": "Close",
  "window.move": "Move",
  "window.print": "Print",
  "window.report": "Report data",
  "window.right": "Right click",
  "window.move.hint": "Move the window with the arrow keys; Enter ends, Escape takes it back.",
  "mode.find": "Find",
  "mode.ok": "OK",
  "mode.update": "Update",
  "mode.add": "Add",
  "item.default": "default button",
  "status.region": "Status bar",
  "status.none": "Message",
  "status.warning": "Warning",
  "status.error": "Error",
  "status.info": "Information",
  "status.history": "Messages",
  "status.history.empty": "No messages yet.",
  "progress.value": "{value} of {maximum}",
  "progress.stop": "Stop",
  "box.title": "Message",
  "busy.notice": "The add-on is working …",
  "busy.waiting": "The add-on is working … Actions that wait: {count}",
  "link.connecting": "Connecting to the desk …",
  "link.lost": "The connection to the desk is lost.",
  "link.ended": "The client has ended.",
  "link.again": "Next try in {seconds} s.",
  "link.trying": "Trying to connect …",
  "link.reconnect": "Reconnect",
  "outcome.vetoed": "{action}: vetoed by the add-on",
  "outcome.refused": "{action}: refused. {why}",
  "outcome.refused.code": "{action}: refused ({code}). {why}",
  "outcome.lost": "{action}: the connection was lost before the answer came",
  "outcome.offline": "{action}: not sent, since there is no connection",
  "outcome.full": "{action}: not sent, since too many actions wait for the add-on",
  "action.menu": "Menu",
  "action.press": "Click",
  "action.double": "Double click",
  "action.key": "Key",
  "action.type": "Typing",
  "action.tab": "Tab key",
  "action.validate": "Leaving the item",
  "action.choose": "Choice",
  "action.right": "Right click",
  "action.select": "Selecting the form",
  "action.close": "Closing the form",
  "action.print": "Print",
  "action.report": "Report data",
  "action.move": "Move",
  "action.answer": "Answer",
  "action.language": "Language",
  "action.shutdown": "Ending the client",
  "action.stop": "Stopping the progress bar",
  "panel": "Author's panel",
  "panel.width": "Width of the author's panel",
  "panel.events": "Events",
  "panel.statements": "Statements",
  "panel.log": "Log",
  "panel.forms": "Forms",
  "panel.filter": "Filter",
  "panel.pause": "Pause",
  "panel.resume": "Go on",
  "panel.clear": "Clear",
  "panel.count": "{shown} of {all}",
  "panel.skipped": "{shown} of {all}, {waiting} waiting",
  "events.number": "No.",
  "events.name": "Event",
  "events.form": "Form",
  "events.item": "Item",
  "events.when": "When",
  "events.veto": "Veto",
  "events.time": "µs",
  "events.before": "before",
  "events.after": "after",
  "events.vetoed": "veto {sinks}",
  "statements.number": "No.",
  "statements.rows": "Rows",
  "statements.time": "µs",
  "statements.text": "Statement",
  "statements.error": "error: {error}",
  "forms.none": "No forms are open.",
  "forms.items": "Items",
  "forms.sources": "Data sources",
  "forms.hidden": "hidden",
  "forms.frozen": "frozen",
  "forms.unusable": "not usable",
  "forms.rows": "{rows} rows, revision {revision}",
  "forms.hint": "Alt+click an item of the desk to find it here.",
  "keys.title": "Keys",
  "keys.close": "Close",
  "keys.F10": "menu bar",
  "keys.F6": "next part of the page: menu bar, desk, status bar, panel",
  "keys.CtrlF6": "next form",
  "keys.AltMinus": "menu of the form: move, print, close",
  "keys.Tab": "next item; with Shift the item before",
  "keys.Enter": "presses the default button",
  "keys.Escape": "presses the button 2, Cancel",
  "keys.AltDown": "opens a combo box",
  "keys.F2": "edits a cell of a matrix",
  "keys.Space": "clicks a cell of a matrix, which selects its row",
  "keys.CtrlSpace": "clicks a cell with Ctrl: adds its row to the selected ones or takes it away",
  "keys.ShiftDown": "selects the next row, too; so do the other keys that move up and down",
  "keys.CtrlShiftSpace": "clicks the head of the column",
  "keys.ShiftF10": "right click",
  "keys.AltClick": "shows an item in the author's panel",
}));

const kTables = new Set([1028, 1029, 1030, 1031, 1032, 1035, 1036, 1037, 1038, 1040, 1041, 1042,
  1043, 1045, 1046, 1049, 1051, 1053, 2052, 2068, 2070, 3082, 9226]);

let current = english;
let wanted = 1033;

/**
 * Takes the texts of a string table, from now on if the promise gives true. It gives false if
 * another one is wanted by then, or the texts could not be loaded. A table that the page does not
 * have is English.
 */
export async function useTexts(table) {
  wanted = table;
  try {
    const found = kTables.has(table) ? await import(`./texts_${table}.js`) : { texts: {} };
    if (wanted !== table) return false;
    current = new Map(Object.entries(found.texts));
    return true;
  } catch {
    return false;  // the page stays as it is; the texts of the host are in its language all the same
  }
}

/** Returns the text of a key with its values filled in; the key itself if it has no text. */
export function text(key, values = {}) {
  const pattern = current.get(key) ?? english.get(key) ?? key;
  return pattern.replace(/\{(\w+)\}/g, (place, name) => String(values[name] ?? place));
}

/** The client's languages by number, each in its own words. */
export const languages = new Map([
  [1, "עברית"], [2, "Español (Argentina)"], [3, "English (US)"], [5, "Polski"],
  [6, "English (Singapore)"], [7, "Español (Panamá)"], [8, "English (UK)"], [9, "Deutsch"],
  [10, "Srpski"], [11, "Dansk"], [12, "Norsk"], [13, "Italiano"], [14, "Magyar"], [15, "简体中文"],
  [16, "Nederlands"], [17, "Suomi"], [18, "Ελληνικά"], [19, "Português"], [20, "Svenska"],
  [21, "English (Cyprus)"], [22, "Français"], [23, "Español"], [24, "Русский"],
  [25, "Español (Latinoamérica)"], [26, "Čeština"], [27, "Slovenčina"], [28, "한국어"],
  [29, "Português (Brasil)"], [30, "日本語"], [31, "Türkçe"], [35, "繁體中文"],
]);
