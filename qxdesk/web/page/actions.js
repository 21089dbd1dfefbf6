// The actions of the user on their way to the host. Each has an outcome, which its sender gets and
// the status area shows in words if it is not "done".

import { text } from "./texts.js";

// Requests of the page itself, whose outcome is no news for the user.
const kSilent = new Set(["rows", "panel"]);

/** The host closes a page that says too much while the add-on is busy. */
const kMostWaiting = 200;

export class Actions {
  /** `send` takes a plain object and returns false without a connection. */
  constructor(send, onOutcome, onCount) {
    this.send = send;
    this.onOutcome = onOutcome;
    this.onCount = onCount;
    this.lastId = 0;
    this.waiting = new Map();
    this.held = null;
  }

  /** The number of the user's actions without an outcome. */
  get count() {
    let count = 0;
    for (const { action } of this.waiting.values()) count += kSilent.has(action.do) ? 0 : 1;
    return count;
  }

  /**
   * Sends an action. The promise gives its outcome: {result, code, why, message}, where result is
   * "done", "vetoed", "refused", "lost", "offline" or "full", and message is the host's text.
   */
  perform(action) {
    this.releaseHeld();
    return this.sendNow(action);
  }

  /**
   * Holds an action back for so many milliseconds, since a second click may make a double click of
   * it. Any other action lets it go first, so that the order stays. `send` sends it at last.
   */
  hold(action, milliseconds, send = () => this.sendNow(action)) {
    this.releaseHeld();
    const timer = setTimeout(() => this.releaseHeld(), milliseconds);
    this.held = { send, timer };
  }

  /** Forgets the action that is held back; returns false if there is none. */
  forgetHeld() {
    if (this.held === null) return false;
    clearTimeout(this.held.timer);
    this.held = null;
    return true;
  }

  releaseHeld() {
    const held = this.held;
    if (this.forgetHeld()) held.send();
  }

  sendNow(action) {
    this.lastId += 1;
    const id = this.lastId;
    const isFull = this.waiting.size >= kMostWaiting;
    if (isFull || !this.send({ ...action, id })) {
      return Promise.resolve(this.report(action, { result: isFull ? "full" : "offline" }));
    }
    return new Promise((resolve) => {
      this.waiting.set(id, { action, resolve });
      this.onCount(this.count);
    });
  }

  /** Takes a reply of the host, or the rows that it sends in place of one. */
  takeReply(message) {
    const result = message.get("is") === "rows" ? "done" : message.get("result");
    const outcome = { result, code: message.get("code"), why: message.get("why"), message };
    this.finish(message.get("re"), outcome);
  }

  /** Ends all actions, since their replies cannot come any more. */
  loseAll() {
    this.forgetHeld();
    for (const id of [...this.waiting.keys()]) this.finish(id, { result: "lost" });
  }

  finish(id, outcome) {
    const entry = this.waiting.get(id);
    if (entry === undefined) return;
    this.waiting.delete(id);
    this.onCount(this.count);
    entry.resolve(this.report(entry.action, outcome));
  }

  report(action, outcome) {
    if (!kSilent.has(action.do)) this.onOutcome(action, outcome);
    return outcome;
  }
}

/** Returns a sentence about an outcome; empty for "done". */
export function describeOutcome(action, outcome) {
  if (outcome.result === "done") return "";
  const hasCode = outcome.result === "refused" && typeof outcome.code === "number";
  return text(`outcome.${outcome.result}${hasCode ? ".code" : ""}`, {
    action: text(`action.${action.do}`),
    code: outcome.code,
    why: outcome.why ?? "",
  });
}
