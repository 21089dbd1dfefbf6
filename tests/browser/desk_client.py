"""An add-on with its client, and pages of it without a browser: sockets that say what a page says,
and what no page says.
"""

import json
import os
import pathlib
import socket
import struct
import subprocess
import time

from json_difference import patched
from web_socket import WebSocket, accept_key

SECONDS = 20
_PAUSE = 0.005  # the pace of asking, not a time to wait
_KEY = "dGhlIHNhbXBsZSBub25jZQ=="
RULES = (1008, "The page broke the rules of its texts.")
ENDS = (1001, "The host ends.")


def until(condition, what):
    """Waits until the condition gives a value and returns it; fails with `what` if not."""
    end = time.monotonic() + SECONDS
    while not (value := condition()):
        if time.monotonic() > end:
            raise AssertionError(f"in vain waited until {what}")
        time.sleep(_PAUSE)
    return value


class Connection:
    """A connection to the server."""

    def __init__(self, port):
        self._socket = socket.create_connection(("127.0.0.1", port), timeout=SECONDS)
        self.reader = self._socket.makefile("rb")
        self.writer = self._socket.makefile("wb")

    def request(self, target, headers, method="GET"):
        """Sends a request and returns the status, the headers by lower-case name and the body."""
        lines = [f"{method} {target} HTTP/1.1"] + [f"{name}: {value}" for name, value in headers]
        self.writer.write(("\r\n".join(lines) + "\r\n\r\n").encode())
        self.writer.flush()
        status = int(self.reader.readline().split()[1])
        found = {}
        while line := self.reader.readline().decode().rstrip("\r\n"):
            name, _, value = line.partition(": ")
            found[name.lower()] = value
        return status, found, self.reader.read(int(found.get("content-length", "0"))).decode()

    def say(self, data):
        """Sends bytes as they are."""
        self.writer.write(data)
        self.writer.flush()

    def vanish(self, resets=False):
        """Ends the connection without a word; with `resets` as a machine does that is gone."""
        if resets:
            self._socket.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        self.reader.close()
        self.writer.close()
        self._socket.close()


class Page:
    """A page that has its socket. `state` is the newest that it was sent."""

    def __init__(self, connection):
        self.connection = connection
        self.socket = WebSocket(connection.reader, connection.writer, is_client=True)
        self.state = None
        self.number = None
        self.bye = None
        self._id = 0

    def receive(self):
        """Takes the next message into the state and returns it; None at the end."""
        text = self.socket.receive()
        if text is None:
            return None
        message = json.loads(text)
        if message["is"] == "state":
            self.number, self.state = message["number"], message["state"]
        elif message["is"] == "patch":
            if message["number"] != self.number + 1:
                raise AssertionError(f"patch {message['number']} came after {self.number}")
            self.number += 1
            self.state = patched(self.state, message["ops"])
        elif message["is"] == "bye":
            self.bye = message["why"]
        return message

    def send(self, action, **fields):
        """Asks for an action and returns its id."""
        self._id += 1
        self.socket.send(json.dumps({"do": action, "id": self._id, **fields}))
        return self._id

    def reply(self, number):
        """Waits for the reply to an action: "done", "vetoed" or the refusal's code and sentence."""
        while message := self.receive():
            if message.get("re") == number:
                return message if message["is"] == "rows" else _outcome(message)
        raise AssertionError(f"the page was closed with {self.socket.farewell}, not answered")

    def do(self, action, **fields):
        return self.reply(self.send(action, **fields))

    def until(self, condition, what):
        """Receives until the condition on the state holds."""
        while not condition(self.state):
            if self.receive() is None:
                raise AssertionError(f"in vain waited until {what}: {self.socket.farewell}")

    def end(self):
        """Receives until the host closes the page, and confirms it as a browser does.

        Returns the code and the reason, or None if the host has closed it without a word.
        """
        while self.receive() is not None:
            pass
        self.socket.close()
        self.connection.vanish()
        return self.socket.farewell

    def close(self):
        """Closes the page as a browser does, which waits for the host's own closing frame."""
        self.socket.close()
        self.end()


def _outcome(reply):
    if reply["result"] != "refused":
        return reply["result"]
    return reply["code"], reply["why"]


class AddOn:
    """A program with its client, started in a folder of its own."""

    def __init__(self, program, folder, web="127.0.0.1:0", log_level=1):
        build = pathlib.Path(program).resolve().parents[1]
        self.folder = folder = pathlib.Path(folder)
        environment = dict(os.environ, QX_REGISTRY=str(build / "registry.toml"))
        for name in ("QX_RUNTIME_DIR", "QX_LOG_DIR"):
            environment[name] = str(folder / name)
            (folder / name).mkdir(exist_ok=True)
        settings = folder / "log.toml"
        settings.write_text(f"level = {log_level}\nfile_size_mb = 10\n")
        environment["QX_LOG_SETTINGS"] = str(settings)
        # A sanitizer would keep freed memory, and its growth could not be measured.
        environment["ASAN_OPTIONS"] = environment.get("ASAN_OPTIONS", "") + ":quarantine_size_mb=1"
        # Files and no pipes: what was printed before a reply is then there when the reply has come.
        self.output, self.errors = folder / "output.txt", folder / "errors.txt"
        with open(self.output, "wb") as output, open(self.errors, "wb") as errors:
            self.process = subprocess.Popen(
                [program, f"embedded:?db={folder}/company.db&web={web}"], env=environment,
                stdin=subprocess.DEVNULL, stdout=output, stderr=errors)
        self.port = self.token = self.cookie = None

    def lines(self):
        """Returns the lines that were printed so far."""
        return self.output.read_text(encoding="utf-8").splitlines()

    def enter(self):
        """Waits for the address and opens it, which gives the cookie."""
        until(lambda: self._address() or self.process.poll() is not None, "the client started")
        if self._address() is None:
            raise AssertionError(f"the client ended: {self.lines()} {self.errors.read_text()}")
        where, _, self.token = self._address().partition("/?token=")
        self.port = int(where.rpartition(":")[2])
        status, headers, _ = self.get(f"/?token={self.token}", cookie=None)
        if status != 303:
            raise AssertionError(f"the printed address gives {status}")
        self.cookie = headers["set-cookie"].partition(";")[0]

    def _address(self):
        lines = [line.split()[1] for line in self.lines()
                 if line.startswith("open http://") and line.endswith(" in a browser")]
        return lines[0] if lines else None

    def headers(self, cookie="own", host=None, origin=None):
        """Returns the headers of a request; `cookie` None leaves it out."""
        headers = [("Host", host or f"127.0.0.1:{self.port}")]
        if cookie is not None:
            headers.append(("Cookie", self.cookie if cookie == "own" else cookie))
        if origin is not None:
            headers.append(("Origin", origin))
        return headers

    def get(self, target, **headers):
        connection = Connection(self.port)
        try:
            return connection.request(target, self.headers(**headers))
        finally:
            connection.vanish()

    def ask_for_socket(self, connection, **headers):
        """Asks for the socket of a page and returns the answer."""
        headers.setdefault("origin", f"http://127.0.0.1:{self.port}")
        return connection.request("/socket", self.headers(**headers) + [
            ("Connection", "Upgrade"), ("Upgrade", "websocket"), ("Sec-WebSocket-Version", "13"),
            ("Sec-WebSocket-Key", _KEY)])

    def page(self):
        """Opens a page and takes its first state."""
        connection = Connection(self.port)
        status, headers, body = self.ask_for_socket(connection)
        if status != 101 or headers["sec-websocket-accept"] != accept_key(_KEY):
            raise AssertionError(f"no page but {status} {body}")
        page = Page(connection)
        first = page.receive()
        if first is None or first["is"] != "state":
            raise AssertionError(f"the page got {first} first, {page.socket.farewell}")
        return page

    def load(self):
        """Opens a page as a browser does that loads it: the document, a file, the socket."""
        connection = Connection(self.port)
        for target in ("/", "/main.js"):
            status, _, _ = connection.request(target, self.headers())
            if status != 200:
                raise AssertionError(f"{target} gives {status}")
        connection.vanish()
        return self.page()

    def state(self):
        """Returns the state that a new page gets."""
        page = self.page()
        page.close()
        return page.state

    def events(self):
        """Returns the events so far; the reply to an action comes after its events are printed."""
        return [line.removeprefix("event ") for line in self.lines()
                if line.startswith("event ")]

    def usage(self):
        """Returns the resident KiB, the descriptors and the threads of the process."""
        place = pathlib.Path("/proc") / str(self.process.pid)
        status = dict(line.split(":", 1) for line in (place / "status").read_text().splitlines())
        return (int(status["VmRSS"].split()[0]), len(list((place / "fd").iterdir())),
                int(status["Threads"]))

    def wait(self):
        """Waits until the program has ended and returns its exit code."""
        return self.process.wait(SECONDS)

    def kill(self):
        self.process.kill()
        self.wait()
