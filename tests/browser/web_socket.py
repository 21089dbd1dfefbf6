"""The server's end of a WebSocket, as far as the page needs it: texts, pings and closing."""

import base64
import hashlib
import struct
import threading

_GUID = "258EAFA5-E914-47DA-95CA-C5AB0DC85B11"
_TEXT, _CLOSE, _PING, _PONG = 1, 8, 9, 10


def accept_key(key):
    """Returns the answer to the key that a browser sends."""
    return base64.b64encode(hashlib.sha1((key + _GUID).encode()).digest()).decode()


class WebSocket:
    """`reader` and `writer` are the two ends of the connection after its upgrade."""

    def __init__(self, reader, writer):
        self._reader = reader
        self._writer = writer
        self._lock = threading.Lock()

    def send(self, text):
        """Sends a text; one for a browser that is gone is dropped."""
        self._send(_TEXT, text.encode())

    def close(self):
        self._send(_CLOSE, struct.pack(">H", 1000))

    def receive(self):
        """Returns the next text, or None at the end."""
        text = b""
        while True:
            frame = self._receive_frame()
            if frame is None or frame[1] == _CLOSE:
                return None
            final, kind, data = frame
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
        mask = self._read(4)
        data = self._read(length)
        if mask is None or data is None:
            return None
        return head[0] >= 128, head[0] & 15, bytes(b ^ mask[i & 3] for i, b in enumerate(data))

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
        with self._lock:
            try:
                self._writer.write(bytes([128 | kind]) + size + data)
                self._writer.flush()
            except (OSError, ValueError):
                pass
