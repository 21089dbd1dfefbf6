// The tabs of the author's panel that are lists: events, statements and log.

import { RecordList } from "./record_list.js";
import { text } from "./texts.js";

function columnsOf(tab, names) {
  return names.map((name) => ({ name, title: text(`${tab}.${name}`) }));
}

export class EventsTab extends RecordList {
  constructor() {
    super({
      label: text("panel.events"),
      columns: columnsOf("events", ["number", "name", "form", "item", "when", "veto", "time"]),
      describe: describeEvent,
    });
  }

  // The host lists an event when it ends, after those that its handlers have raised. The list has
  // them in the order in which they began. The numbers alone do not say it: they begin anew.
  insert(event, shown) {
    let at = this.records.length;
    while (at > 0 && isWithin(this.records[at - 1].event, event)) at -= 1;
    this.records.splice(at, 0, { ...shown, event });
  }
}

function isWithin(event, outer) {
  return event.get("depth") > outer.get("depth") && event.get("number") > outer.get("number");
}

function describeEvent(event) {
  const depth = Math.max(0, Math.min(event.get("depth") ?? 0, 8));
  return {
    className: event.get("veto") === true ? "vetoedEvent" : "",
    texts: [
      String(event.get("number")),
      "\u2007".repeat(depth * 2) + (event.get("name") || event.get("kind")),
      formOf(event), itemOf(event),
      text(event.get("before") ? "events.before" : "events.after"),
      vetoOf(event), timeOf(event),
    ],
  };
}

// The time of the event and, if several sinks have got it, that of each.
function timeOf(event) {
  const sinks = event.get("sinks") ?? [];
  const each = sinks.map((one) => `${one.get("sink")}: ${one.get("microseconds")}`);
  return [event.get("microseconds") ?? "", ...(each.length > 1 ? [`(${each.join(", ")})`] : [])]
    .join(" ");
}

function formOf(event) {
  const uid = event.get("form") ?? "";
  const type = event.get("formType") ?? "";
  return type !== "" && type !== uid ? `${uid} (${type})` : uid;
}

function itemOf(event) {
  if (event.get("menu")) return event.get("menu");
  const parts = [event.get("item") ?? ""];
  if (event.get("column")) parts.push(event.get("column"));
  if (event.get("column") || event.get("row") > 0) parts.push(String(event.get("row")));
  const unit = event.get("char") ?? 0;
  if (event.get("text")) parts.push(event.get("text"));
  if (unit > 0) parts.push(unit > 32 ? `'${String.fromCharCode(unit)}'` : `#${unit}`);
  return parts.filter((part) => part !== "").join(" ");
}

function vetoOf(event) {
  if (event.get("veto") !== true) return "";
  const sinks = (event.get("sinks") ?? []).filter((sink) => sink.get("veto") === true);
  return text("events.vetoed", { sinks: sinks.map((sink) => sink.get("sink")).join(", ") });
}

export class StatementsTab extends RecordList {
  constructor() {
    super({
      label: text("panel.statements"),
      columns: columnsOf("statements", ["number", "rows", "time", "text"]),
      describe: describeStatement,
    });
  }
}

function describeStatement(statement) {
  const error = statement.get("error") ?? "";
  const rows = statement.get("rows") ?? -1;
  const sql = statement.get("text").replaceAll(/\s+/g, " ");
  return {
    className: error === "" ? "" : "failed",
    texts: [
      String(statement.get("number")), rows < 0 ? "–" : String(rows),
      String(statement.get("microseconds") ?? ""),
      error === "" ? sql : `${text("statements.error", { error })} – ${sql}`,
    ],
  };
}

export class LogTab extends RecordList {
  constructor() {
    super({
      label: text("panel.log"),
      columns: [{ name: "logLine", title: text("panel.log") }],
      describe: (line) => ({ texts: [line] }),
    });
    this.rest = "";
  }

  /** Adds text of the log, which need not end with a line. */
  addText(added) {
    const lines = (this.rest + added).split(/\r?\n/);
    this.rest = lines.pop();
    this.add(lines);
  }
}
