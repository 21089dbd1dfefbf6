// The WebSocket to the desk: the whole state once, then its patches in order, the replies to the
// actions, and what the author's panel shows.
//
// A gap in the numbers or a patch that does not fit means that this page no longer knows the state.
// It then connects anew, which gives it the whole state. A lost connection is tried again after
// growing pauses.

import { applyPatch, parseJson } from "./json_patch.js";

const kPauses = [500, 1000, 2000, 4000, 8000, 15000, 30000];
/** A connection that has lasted this long counts as a good one: the pauses begin anew. */
const kGoodMilliseconds = 10000;

export class Connection {
  /**
   * `listener` gets stateChanged(state), textCame(kind, message) for the other kinds of text, and
   * linkChanged({kind, why, pause}): kind is "connecting", "open", "lost" or "ended".
   */
  constructor(listener) {
    this.listener = listener;
    this.state = null;
    this.number = 0;
    this.socket = null;
    this.timer = 0;
    this.tries = 0;
    this.ending = null;
  }

  /** Connects now. Takes the place of a connection and of a try that waits. */
  open() {
    clearTimeout(this.timer);
    this.drop();
    this.ending = null;
    this.listener.linkChanged({ kind: "connecting" });
    const scheme = location.protocol === "https:" ? "wss:" : "ws:";
    const socket = new WebSocket(`${scheme}//${location.host}/socket`);
    this.socket = socket;
    socket.addEventListener("message", (event) => {
      if (socket === this.socket) this.receive(event.data);
    });
    socket.addEventListener("close", () => {
      if (socket === this.socket) this.lose();
    });
  }

  /** Sends an action, a plain object; returns false without a connection. */
  send(action) {
    if (this.state === null || this.socket?.readyState !== WebSocket.OPEN) return false;
    this.socket.send(JSON.stringify(action));
    return true;
  }

  drop() {
    const socket = this.socket;
    this.socket = null;
    this.state = null;
    socket?.close();
  }

  // A fault of the text means a new connection; one of the views is no reason for that.
  receive(data) {
    let message = null;
    try {
      message = parseJson(data);
      if (message.get("is") === "patch") this.takePatch(message);
    } catch (error) {
      console.warn(`The state is fetched anew: ${error.message}`);
      this.startAnew();
      return;
    }
    this.take(message.get("is"), message);
  }

  take(kind, message) {
    if (kind === "state") this.takeState(message);
    else if (kind === "bye") this.ending = message.get("why") ?? "";
    else if (kind !== "patch") this.listener.textCame(kind, message);
    if (kind === "state" || kind === "patch") this.listener.stateChanged(this.state);
  }

  takeState(message) {
    this.openedAt = performance.now();
    this.number = message.get("number");
    this.state = message.get("state");
    this.listener.linkChanged({ kind: "open" });
  }

  takePatch(message) {
    const number = message.get("number");
    if (this.state === null || number !== this.number + 1) {
      throw new Error(`text ${number} does not follow ${this.number}`);
    }
    this.state = applyPatch(this.state, message.get("ops"));
    this.number = number;
  }

  // The first time at once. A host whose patches never fit must not be asked in a circle, though.
  startAnew() {
    this.drop();
    this.listener.linkChanged({ kind: "lost", pause: 0 });
    this.tryAgain(this.countTry() === 0 ? 0 : kPauses[this.tries - 1]);
  }

  lose() {
    this.drop();
    const pause = kPauses[Math.min(this.countTry(), kPauses.length - 1)];
    const kind = this.ending === null ? "lost" : "ended";
    this.listener.linkChanged({ kind, why: this.ending ?? "", pause });
    this.tryAgain(pause);
  }

  // Returns the number of tries before this one since the last good connection.
  countTry() {
    const lasted = this.openedAt === undefined ? 0 : performance.now() - this.openedAt;
    if (lasted > kGoodMilliseconds) this.tries = 0;
    this.openedAt = undefined;
    this.tries = Math.min(this.tries + 1, kPauses.length);
    return this.tries - 1;
  }

  tryAgain(pause) {
    clearTimeout(this.timer);
    this.timer = setTimeout(() => this.open(), pause);
  }
}
