"""A server made of bytes, and packets with something different in every field, by the layouts of the schema."""

import contextlib
import random
import socket
import struct
import sys
import threading
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parents[2] / "schema"))

from generator.model.schema import Schema  # noqa: E402

SCHEMA = Schema(Path(__file__).parents[2] / "schema")
TYPES = {packet.record.name: packet.value.value for packet in SCHEMA.packets}
COMMAND, ERROR, STATUS_CHANGE = 0, 1, 8
_FORMATS = {"double": "<d", "text32": "64s", "text128": "256s", "byte": "B"}


def packet(size: int, kind: int, *words: int) -> bytes:
    return struct.pack(f"<{2 + len(words)}i", size, kind, *words).ljust(size, b"\0")


def answer(command: int, status: int = 0, kind: int = COMMAND) -> bytes:
    return packet(16, kind, command, status)


def status_change(change: int) -> bytes:
    return packet(12, STATUS_CHANGE, change)


def code_of(request: bytes) -> int:
    return struct.unpack_from("<i", request, 8)[0]


def random_value(kind: str, dice: random.Random):
    """What a field may hold, so that no other field's value could be taken for it."""
    if kind == "double":
        return dice.uniform(-1e6, 1e6)
    if kind in ("bool", "bool32"):
        return dice.random() < 0.5
    if kind in SCHEMA.enums:
        return dice.choice(SCHEMA.enums[kind].values).value
    if kind.startswith("text"):
        return "".join(dice.choices("aZ09 äЖ", k=dice.randrange(1, 30)))
    return dice.randrange(1, 256) if kind == "byte" else dice.randrange(-(2**31), 2**31)


def encode(kind: str, value) -> bytes:
    if kind.startswith("text"):
        return struct.pack(_FORMATS[kind], value.encode("utf-16-le"))
    return struct.pack(_FORMATS.get(kind, "<i"), value)


def filled(record, dice: random.Random, *head: int) -> tuple[bytes, dict]:
    """The bytes of that record and its values by the paths of its fields. A packet's size is followed by `head`."""
    values = {leaf.name: random_value(leaf.type, dice) for leaf in record.leaves}
    words = (record.size, *head) if head else ()
    values |= {leaf.name: words[leaf.offset // 4] for leaf in record.leaves if leaf.offset < 4 * len(words)}
    body = bytearray(record.size)
    for leaf in record.leaves:
        piece = encode(leaf.type, values[leaf.name])
        body[leaf.offset : leaf.offset + len(piece)] = piece
    return bytes(body), values


class Log:
    """A handler that keeps the changes of status."""

    def __init__(self):
        self.heard = []

    def OnStatusChangeEvent(self, change):
        self.heard.append(change)


class Peer:
    """Takes one client after another. `reply` makes the bytes that follow a request, b"" for none."""

    def __init__(self, reply=lambda request: answer(code_of(request)), port=0):
        self.reply = reply
        self.requests: list[bytes] = []
        self._listener = socket.create_server(("127.0.0.1", port))
        self.port = self._listener.getsockname()[1]
        self._client: socket.socket | None = None
        self._met = threading.Event()  # a client can be connected before it has been accepted
        self._thread = threading.Thread(target=self._serve, daemon=True)
        self._thread.start()

    def send(self, data: bytes) -> None:
        self._met.wait(10)
        self._client.sendall(data)

    def hang_up(self, how: int = socket.SHUT_RDWR) -> None:
        self._client.shutdown(how)

    def reset(self) -> None:
        self._client.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        self._client.close()

    def close(self) -> None:
        self._listener.shutdown(socket.SHUT_RDWR)
        self._listener.close()
        with contextlib.suppress(OSError, AttributeError):  # no client, or one that has gone
            self.hang_up()
        self._thread.join(5)

    def _serve(self) -> None:
        while True:
            try:
                self._client, _ = self._listener.accept()
            except OSError:
                return
            self._met.set()
            with contextlib.suppress(OSError):
                while request := self._receive():
                    self.requests.append(request)
                    self.send(self.reply(request))
            self._client.close()

    def _receive(self) -> bytes:
        size = self._client.recv(4, socket.MSG_WAITALL)
        return size and size + self._client.recv(struct.unpack("<i", size)[0] - 4, socket.MSG_WAITALL)
