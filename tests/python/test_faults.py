"""What a server and the line to it can do to a client, as scripts and asyncio programs hear of it."""

import asyncio
import random
import socket
import struct
import time
from types import SimpleNamespace

import pytest
from peer import COMMAND, TYPES, Peer, answer, packet, status_change
from test_aio import run

import kestrine

GET_REFLECTOR, GET_TRANSFORMED_POINTS, RELEASE_MOTORS = 41, 75, 8
CLOSING = kestrine.constants.VL_SSC_ServerClosing
CLASSIC = kestrine.behaviour() == "classic"
STORM = 2000
SHORT, LONG = 0.2, 20  # seconds that a call may take
FAULTS = {
    # The server's part, a letter each: packets 0 to 2, h and r the two pieces of packet 1, what is below. Then what comes
    # of a call (as a refusal by number, "late" or "closed"), of an asyncio call, and the packets that arrive.
    "cut": ("0h|r2", "ok", "ok", "012"),
    "duplicate": ("0112", "ok", "ok", "0112"),
    "reorder": ("021", "ok", "ok", "021"),
    "size negative": ("0n2", 36, "late", "0"),
    "type unknown": ("0u2", 36, "late", "02"),
    "count too large": ("0m2", "ok", "ok", "0?2"),
    "garbage": ("0g2", 36, "late", "0"),
    "reset": ("0hR", 36, "closed", "0"),
    "close": ("0hC", 36, "closed", "0"),
    "half-close": ("0H", 36, "closed", "0"),
    "restart": ("0C", 36, "closed", "0"),
    "silence": ("0P2", "late", "late", "02"),
    # In classic behaviour the thread waits for the rest.
    "stall": ("0hPr2", *["ok" if CLASSIC else "late"] * 2, "012"),
    "storm": ("0s12", "ok", "ok", "0" + "5" * STORM + "12"),
}
CELLS = [(fault, when) for fault in FAULTS for when in ("call", "stream", "list")
         if fault != "count too large" or when == "stream"]


def packets(when):
    if when == "call":
        return [status_change(25), packet(20, COMMAND, GET_REFLECTOR, 0, 7), status_change(27)]
    if when == "list":
        heads = [packet(124, COMMAND, GET_TRANSFORMED_POINTS, 0, 3)] * 3
        return [head[:20] + struct.pack("<d", number) + head[28:] for number, head in enumerate(heads)]
    return [packet(84, TYPES["MultiMeasResultT"], 0, 1, 0, 0, *[0] * 6, 0, number) for number in range(3)]


def play(peer, letters, kind):
    """What the server does once it has been asked."""
    zero, one, two = packets(kind)
    dice = random.Random(kind)
    meanings = {
        "0": zero, "1": one, "2": two, "h": one[:10], "r": one[10:], "n": b"\xff" * 4 + one[4:],
        "u": one[:4] + b"\x0c" + one[5:], "m": one[:12] + b"\x03" + one[13:],
        "g": b"\xff" * 4 + dice.randbytes(len(one)), "s": status_change(5) * STORM}
    data = answer(RELEASE_MOTORS) if kind == "stream" else b""
    for letter in letters:
        data += meanings.get(letter, b"")
        if letter in "|P":
            peer.send(data)
            data = b""
            time.sleep(4 * SHORT if letter == "P" else 0.02)
    peer.send(data)
    if letters[-1] == "R":
        peer.reset()
    elif letters[-1] in "CH":
        peer.hang_up(socket.SHUT_WR if letters[-1] == "H" else socket.SHUT_RDWR)
    return b""


class Listener:
    """Tells packets by their numbers, the end of the link as c, and a block that promises too much as ?."""

    connection, heard = None, ""

    def OnStatusChangeEvent(self, change):
        self.heard += "c" if change == CLOSING else str(change % 25)

    def OnTransformedPointsData(self, value, *_):
        self.heard += str(int(value))

    def OnContinuousPointMeasDataReady(self, *_):
        try:
            self.heard += str(kestrine.points(self.connection.GetData())["lTime1"][0])
        except ValueError:
            self.heard += "?"


CALLS = {"call": "GetReflector", "list": "GetTransformedPoints", "stream": "ReleaseMotors"}


@pytest.fixture
def cell(request, tmp_path, monkeypatch):
    """A server that does its part when it is asked, and a connection; then that the next one works."""
    fault, kind = request.param
    letters, in_call, in_asyncio, heard = FAULTS[fault]
    seconds = SHORT if "late" in (in_call, in_asyncio) else LONG
    (tmp_path / "Kestrine.ini").write_text("[Settings]\nNonblockingConnect=0\n[SyncCommandTimeouts]\n"
                                           f"StandardWaitTime={int(seconds * 1000)}\n")
    monkeypatch.setenv("KESTRINE_PROFILE_DIR", str(tmp_path))
    peer = Peer(lambda _: play(peer, letters, kind))
    connection = kestrine.Dispatch("Kestrine.LTConnect2")
    connection.ConnectEmbeddedSystem("127.0.0.1", peer.port)
    if kind == "call":
        heard = heard.replace("1", "")
    cell = SimpleNamespace(**locals())  # all of these
    yield cell
    connection.DisconnectEmbeddedSystem()
    if fault == "restart":
        peer.close()
        with pytest.raises(kestrine.com_error, match="40011"):
            connection.ConnectEmbeddedSystem("127.0.0.1", peer.port)
        peer = Peer(port=peer.port)
    peer.reply = lambda _: packets("call")[1]
    connection.ConnectEmbeddedSystem("127.0.0.1", peer.port)
    assert cell.call_again() == 7
    connection.DisconnectEmbeddedSystem()
    peer.close()


def from_script(cell, method):
    return getattr(cell.tracker, method)()


def from_asyncio(cell, method):
    return run(cell.connection, lambda tracker: getattr(tracker.with_timeout(cell.seconds), method)())


@pytest.mark.classic
@pytest.mark.parametrize("consumer", [from_script, from_asyncio])
@pytest.mark.parametrize("cell", CELLS, indirect=True, ids=lambda cell: "-".join(cell))
def test_what_came_before_a_fault_is_not_lost_and_the_fault_has_its_signs(cell, consumer, wait_for):
    cell.tracker = cell.connection.ILTCommandSync if consumer is from_script else cell.connection.ILTCommandAsync
    cell.call_again = lambda: consumer(cell, "GetReflector")
    listener = kestrine.WithEvents(cell.tracker, Listener)
    listener.connection = cell.connection
    try:
        consumer(cell, CALLS[cell.kind])
        told = "ok"
    except kestrine.com_error as error:
        text = str(error)
        told = "late" if "timed out" in text else "closed" if "closed" in text else error.number
    expected = {"call": cell.in_call, "list": "ok"} if consumer is from_script else dict.fromkeys(CALLS, cell.in_asyncio)
    assert told == (expected[cell.kind] if cell.kind != "stream" else "ok")
    wait_for(lambda: len(listener.heard.rstrip("c")) >= len(cell.heard))
    if cell.letters[-1] not in "RCH":
        cell.peer.hang_up()
    wait_for(lambda: "c" in listener.heard)
    same = sorted if cell.fault == "storm" else str  # a call holds back what can wait
    assert same(listener.heard) == same(cell.heard + "c")
