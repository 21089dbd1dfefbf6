"""An end of a WebSocket, as far as the page needs it: texts, pings and closing."""

import base64
import hashlib
import os
import struct
import threading

_GUID = "258EAFA5-E914-47DA-95CA-C5AB0DC85B11"
_TEXT, _CLOSE, _PING, _PONG = 1, 8, 9, 10


def accept_key(key):
    """Returns the answer to the key that a browser sends."""
    return base64.b64encode(hashlib.sha1((key + _GUID).encode()).digest()).decode()


def _masked(data, mask):
    return bytes(b ^ mask[i & 3] for i, b in enumerate(data)) if mask else data


class WebSocket:
    """`reader` and `writer` are the two ends of the connection after its upgrade.

    `farewell` is the code and the reason with which the other end has closed, or None.
    """

    def __init__(self, reader, writer, is_client=False):
        self._reader = reader
        self._writer = writer
        self._is_client = is_client
        self._lock = threading.Lock()
        self.farewell = None

    def send(self, text):
        """Sends a text; one for a browser that is gone is dropped."""
        self._send(_TEXT, text.encode())

    def send_frame(self, kind, data):
        """Sends a frame of any kind, such as bytes in place of a text."""
        self._send(kind, data)

    def close(self):
        self._send(_CLOSE, struct.pack(">H", 1000))

    def receive(self):
        """Returns the next text, or None at the end."""
        text = b""
        while True:
            frame = self._receive_frame()
            if frame is None:
                return None
            final, kind, data = frame
            if kind == _CLOSE:
                self.farewell = (int.from_bytes(data[:2], "big"), data[2:].decode())
                return None
            if kind == _PING:
                self._send(_PONG, data)
            elif kind != _PONG:
                text += data
                if final:
                    return text.decode()

    def _receive_frame(self):
        head = self._read(2)
        if head is None:
            return None
        length = head[1] & 127
        if length >= 126:
            size = self._read(2 if length == 126 else 8)
            length = int.from_bytes(size, "big")
        mask = self._read(4) if head[1] >= 128 else b""
        data = self._read(length)
        if mask is None or data is None:
            return None
        return head[0] >= 128, head[0] & 15, _masked(data, mask)

    def _read(self, count):
        try:
            data = self._reader.read(count)
        except OSError:
            return None
        return data if len(data) == count else None

    def _send(self, kind, data):
        if len(data) < 126:
            size = bytes([len(data)])
        elif len(data) < 65536:
            size = b"\x7e" + struct.pack(">H", len(data))
        else:
            size = b"\x7f" + struct.pack(">Q", len(data))
        if self._is_client:  # a client masks what it sends
            mask = os.urandom(4)
            size = bytes([size[0] | 128]) + size[1:] + mask
            data = _masked(data, mask)
        with self._lock:
            try:
                self._writer.write(bytes([128 | kind]) + size + data)
                self._writer.flush()
            except (OSError, ValueError):
                pass
