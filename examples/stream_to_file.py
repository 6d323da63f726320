"""Writes a stream of points to a file of comma-separated values, until it has enough or Ctrl-C is pressed.

    stream_to_file.py FILE [ADDRESS PORT]      without an address a simulator is measured
"""

import contextlib
import sys
from typing import TextIO

import kestrine

POINTS = 500
MILLISECONDS_APART = 5


class Writer:
    """Hears of every block of points, fetches it and writes it."""

    connection: "kestrine.ILTConnect2"
    file: TextIO
    count = 0

    def OnContinuousPointMeasDataReady(self, resultsTotal: int, bytesTotal: int) -> None:
        points = kestrine.points(self.connection.GetData())
        for seconds, fraction, x, y, z in points[["lTime1", "lTime2", "dVal1", "dVal2", "dVal3"]].tolist():
            self.file.write(f"{seconds + fraction / 1e6:.6f},{x:.7f},{y:.7f},{z:.7f}\n")
        self.count += len(points)
        if self.count >= POINTS:
            kestrine.PostQuitMessage()


def stream(address: str, port: int, file: TextIO) -> int:
    connection = kestrine.Dispatch("Kestrine.LTConnect2")
    connection.ConnectEmbeddedSystem(address, port)
    tracker = connection.ILTCommandSync
    tracker.Initialize()
    tracker.SetMeasurementMode(kestrine.constants.VL_MM_ContinuousTime)
    tracker.SetContinuousTimeModeParams(MILLISECONDS_APART, POINTS, False, kestrine.constants.VL_RT_Sphere)
    writer = kestrine.WithEvents(tracker, Writer)
    writer.connection, writer.file = connection, file
    file.write("seconds,x,y,z\n")
    tracker.StartContinuousPointMeasurement()
    with contextlib.suppress(KeyboardInterrupt):
        kestrine.PumpMessages()
    tracker.StopContinuousMeasurement()
    writer.close()
    return int(writer.count)


def main() -> None:
    with contextlib.ExitStack() as stack:
        if len(sys.argv) == 4:
            address, port = sys.argv[2], int(sys.argv[3])
        else:
            address, port = "127.0.0.1", stack.enter_context(kestrine.Simulator()).port
        file = stack.enter_context(open(sys.argv[1], "w", encoding="utf-8"))
        print(f"{stream(address, port, file)} points in {sys.argv[1]}")


if __name__ == "__main__":
    if len(sys.argv) not in (2, 4):
        sys.exit(__doc__)
    try:
        main()
    except kestrine.com_error as error:
        sys.exit(f"stream_to_file: {error}")
