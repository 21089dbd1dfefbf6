"""A host for the page: serves its files with the headers of the real server and talks to it over a
WebSocket. What the desk holds and does is in fake_desk.py.

Run it by hand to look at the page: python3 fake_host.py [PORT]
"""

import http.server
import json
import pathlib
import sys
import threading

from fake_desk import FakeDesk
from json_difference import difference
from web_socket import WebSocket, accept_key

PAGE = pathlib.Path(__file__).resolve().parents[2] / "qxdesk" / "web" / "page"
_TYPES = {".html": "text/html", ".css": "text/css", ".js": "text/javascript"}
_HEADERS = {
    "Content-Security-Policy":
        "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; "
        "connect-src 'self'; require-trusted-types-for 'script'; frame-ancestors 'none'; "
        "base-uri 'none'; form-action 'none'",
    "X-Content-Type-Options": "nosniff",
    "Referrer-Policy": "no-referrer",
    # Files do not change within a run, and each run has a port of its own.
    "Cache-Control": "max-age=3600",
}


class FakeHost:
    """Plays the host on a free port. Tests change `desk.state` within change()."""

    def __init__(self, desk=None, port=0):
        self.lock = threading.RLock()
        self.pages = []
        self.actions = []
        self.reply_first = False
        self.held = None
        self.reset(desk)
        self._server = http.server.ThreadingHTTPServer(("127.0.0.1", port), self._handler())
        self._server.daemon_threads = True
        self.address = f"http://127.0.0.1:{self._server.server_port}/"
        threading.Thread(target=self._server.serve_forever, args=(0.02,), daemon=True).start()

    def reset(self, desk=None):
        """Begins with another desk; pages that are open are closed."""
        with self.lock:
            for page in list(self.pages):
                page.close()
            self.pages = []
            self.desk = desk or FakeDesk()
            self.number = 1
            self.actions = []
            self.reply_first = False
            self.held = None
            self._sent = json.loads(json.dumps(self.desk.state))

    def stop(self):
        self._server.shutdown()
        self._server.server_close()

    def change(self, mutate):
        """Runs `mutate(state)` and sends the difference."""
        with self.lock:
            mutate(self.desk.state)
            self._publish()

    def say(self, message):
        """Sends a message to all pages."""
        with self.lock:
            for page in self.pages:
                page.send(json.dumps(message))

    def hold(self):
        """Actions wait from now on, as while the add-on is in a handler; see release()."""
        with self.lock:
            self.held = []

    def release(self, count=None):
        """Carries out the first `count` actions that wait; without a number all, and holds none."""
        with self.lock:
            held = self.held[:count]
            self.held = None if count is None else self.held[count:]
            for page, action in held:
                self._perform(page, action)

    def drop(self):
        """Loses the connections without a word."""
        with self.lock:
            for page in list(self.pages):
                page.close()

    def sent(self, *names):
        """Returns the actions so far that do one of the names, without their ids."""
        with self.lock:
            return [{key: value for key, value in action.items() if key != "id"}
                    for action in self.actions if action["do"] in names]

    def _publish(self):
        operations = difference(self._sent, self.desk.state)
        if not operations:
            return
        self._sent = json.loads(json.dumps(self.desk.state))
        self.number += 1
        self.say({"is": "patch", "number": self.number, "ops": operations})

    def _serve_page(self, socket):
        with self.lock:
            socket.send(json.dumps({"is": "state", "number": self.number,
                                    "state": self.desk.state}))
            self.pages.append(socket)
        while (text := socket.receive()) is not None:
            with self.lock:
                self._take(socket, json.loads(text))
        with self.lock:
            if socket in self.pages:
                self.pages.remove(socket)

    def _take(self, page, action):
        self.actions.append(action)
        if self.held is not None and action["do"] not in ("rows", "panel"):
            self.held.append((page, action))
        else:
            self._perform(page, action)

    def _perform(self, page, action):
        reply = self.desk.perform(action)
        if self.reply_first:
            page.send(json.dumps(reply))
            self._publish()
        else:
            self._publish()
            page.send(json.dumps(reply))
        if self.desk.panel_shown and self.desk.events:
            self.say({"is": "events", "list": self.desk.events})
        self.desk.events = []
        if self.desk.ended:
            self.say({"is": "bye", "why": self.desk.ended})
            self.drop()

    def _handler(self):
        host = self

        class Handler(http.server.BaseHTTPRequestHandler):
            protocol_version = "HTTP/1.1"

            def do_GET(self):
                name = self.path.removeprefix("/") or "index.html"
                file = PAGE / name
                if self.path == "/socket" and "Sec-WebSocket-Key" in self.headers:
                    self._upgrade()
                elif name.startswith("favicon."):
                    self._answer(204, "image/svg+xml", b"")
                elif "/" not in name and file.suffix in _TYPES and file.is_file():
                    self._answer(200, _TYPES[file.suffix] + "; charset=utf-8", file.read_bytes())
                else:
                    self._answer(404, "text/plain", b"")

            def _answer(self, status, kind, body):
                self.send_response(status)
                for header, value in {**_HEADERS, "Content-Type": kind,
                                      "Content-Length": str(len(body))}.items():
                    self.send_header(header, value)
                self.end_headers()
                self.wfile.write(body)

            def _upgrade(self):
                self.send_response(101)
                self.send_header("Upgrade", "websocket")
                self.send_header("Connection", "Upgrade")
                self.send_header("Sec-WebSocket-Accept",
                                 accept_key(self.headers["Sec-WebSocket-Key"]))
                self.end_headers()
                self.close_connection = True
                host._serve_page(WebSocket(self.rfile, self.wfile))

            def log_message(self, *words):
                pass

        return Handler


if __name__ == "__main__":
    print(FakeHost(port=int(sys.argv[1]) if len(sys.argv) > 1 else 0).address, flush=True)
    threading.Event().wait()
