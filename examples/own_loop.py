"""Calls that wait in a loop of one's own.     own_loop.py [ADDRESS PORT]      without an address with a simulator"""
import select
import sys
import time

import kestrine

with kestrine.Simulator() as simulator:
    host, port = sys.argv[1:] or ("127.0.0.1", simulator.port)
    try:
        with kestrine.Tracker(host, int(port)) as tracker:
            tracker.on_status(lambda change: print(f"status: {change!r}"))
            tracker.Initialize()
            tracker.SetMeasurementMode(kestrine.constants.VL_MM_ContinuousTime)
            tracker.SetContinuousTimeModeParams(10, 0, False, kestrine.constants.VL_RT_Sphere)
            tracker.on_points(lambda points: print(f"block: {len(points)} points"))
            tracker.StartContinuousPointMeasurement()
            until = time.monotonic() + 2
            while time.monotonic() < until:
                if any(select.select([kestrine.fileno()], [], [], 0.1)):  # and whatever else the program waits for
                    kestrine.PumpWaitingMessages()
            tracker.StopContinuousMeasurement()
            print(f"air: {tracker.GetEnvironmentParams().temperature} °C")
    except kestrine.com_error as error:
        sys.exit(f"own_loop: {error}")
