"""What the library costs a script, as ratios to a script that uses a socket by itself: a call that waits, events into a
handler, and a call under asyncio. Client and server share one core, and rounds are interleaved.

    scripts.py SERVER    the program kestrine_bench_server
"""

import asyncio
import os
import socket
import statistics
import struct
import subprocess
import sys
import time
from collections.abc import Callable

import kestrine

_ROUNDS = 25
_CALLS = 500
_POSITIONS = 5000
_HOST = "127.0.0.1"
_REQUEST = struct.Struct("<3i")  # size, type, command
_HEAD = struct.Struct("<2i")
_POSITION = struct.Struct("<3i3d")  # size, type, status, coordinates
_RELEASE = _REQUEST.pack(12, 0, kestrine.constants.VL_C_ReleaseMotors)
_START = _REQUEST.pack(12, 0, kestrine.constants.VL_C_StartMeasurement)


def connected(port: int) -> kestrine.Object:
    connection = kestrine.Dispatch("Kestrine.LTConnect2")
    connection.ConnectEmbeddedSystem(_HOST, port)
    return connection


def plain(port: int) -> socket.socket:
    client = socket.create_connection((_HOST, port))
    client.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
    return client


# --- A call that waits


def call(connection: kestrine.Object) -> Callable[[], None]:
    tracker = connection.ILTCommandSync

    def run() -> None:
        for _ in range(_CALLS):
            tracker.ReleaseMotors()

    return run


def call_by_hand(port: int) -> Callable[[], None]:
    client = plain(port)

    def run() -> None:
        for _ in range(_CALLS):
            client.sendall(_RELEASE)
            client.recv(16, socket.MSG_WAITALL)

    return run


# --- Positions into a handler


class Handler:
    left = 0

    def OnReflectorPositionData(self, x, y, z):
        self.left -= 1
        if self.left == 0:
            kestrine.PostQuitMessage()


def events(connection: kestrine.Object) -> Callable[[], None]:
    tracker = connection.ILTCommandSync
    handler = kestrine.WithEvents(tracker, Handler)
    tracker.SetMeasurementMode(kestrine.constants.VL_MM_ContinuousTime)

    def run() -> None:
        handler.left = _POSITIONS
        tracker.StartContinuousPointMeasurement()
        if kestrine.PumpEvents(60):
            raise TimeoutError

    return run


def events_by_hand(port: int) -> Callable[[], None]:
    """Reads ahead: one read for as many packets as have come."""
    client = plain(port)

    class Counter(Handler):
        def OnReflectorPositionData(self, x, y, z):
            self.left -= 1

    handler = Counter()

    def run() -> None:
        handler.left = _POSITIONS
        client.sendall(_START)
        rest = b""
        while handler.left > 0:
            data = rest + client.recv(65536)
            at = 0
            while len(data) - at >= _HEAD.size:
                size, kind = _HEAD.unpack_from(data, at)
                if len(data) - at < size:
                    break
                if kind == kestrine.constants.VL_DT_ReflectorPosResult:
                    handler.OnReflectorPositionData(*_POSITION.unpack_from(data, at)[3:])
                at += size
            rest = data[at:]

    return run


# --- A call under asyncio


def awaited(connection: kestrine.Object, runner: asyncio.Runner) -> Callable[[], None]:
    tracker = kestrine.aio.Tracker(connection)
    runner.run(tracker.__aenter__())

    async def rounds() -> None:
        for _ in range(_CALLS):
            await tracker.ReleaseMotors()

    return lambda: runner.run(rounds())


def awaited_by_hand(port: int, runner: asyncio.Runner) -> Callable[[], None]:
    reader, writer = runner.run(asyncio.open_connection(_HOST, port))

    async def rounds() -> None:
        for _ in range(_CALLS):
            writer.write(_RELEASE)
            size, _ = _HEAD.unpack(await reader.readexactly(_HEAD.size))
            await reader.readexactly(size - _HEAD.size)

    return lambda: runner.run(rounds())


def seconds(run: Callable[[], None]) -> float:
    start = time.perf_counter()
    run()
    return time.perf_counter() - start


def compare(what: str, ours: Callable[[], None], by_hand: Callable[[], None], count: int) -> None:
    for run in (ours, by_hand):
        run()
    rounds = [(seconds(ours), seconds(by_hand)) for _ in range(_ROUNDS)]
    low, ratio, high = statistics.quantiles(a / b for a, b in rounds)
    each, each_by_hand = (statistics.median(column) for column in zip(*rounds))
    print(f"  {what:<44} {ratio:10.3f}  [{low:.3f} {high:.3f}]"
          f"  ({each / count * 1e6:.1f} and {each_by_hand / count * 1e6:.1f} us each)")


def main(server: str) -> None:
    os.sched_setaffinity(0, {0})
    served = subprocess.Popen([server, "6", str(_POSITIONS)], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
    with served, asyncio.Runner() as runner:
        ports = [int(port) for port in served.stdout.readline().split()]
        ours = [connected(port) for port in ports[:3]]
        print("Scripts: ratios of a round, median [quartiles], to a socket of one's own")
        compare("call : send and recv", call(ours[0]), call_by_hand(ports[3]), _CALLS)
        compare("positions, handler : read-ahead by hand", events(ours[1]), events_by_hand(ports[4]), _POSITIONS)
        compare("await of a call : asyncio streams", awaited(ours[2], runner), awaited_by_hand(ports[5], runner), _CALLS)
        served.stdin.close()


if __name__ == "__main__":
    main(sys.argv[1])
