"""Streams ten seconds to a file.     stream_to_file.py FILE [ADDRESS PORT]      without an address from a simulator"""
import csv
import sys

import kestrine

with kestrine.Simulator() as simulator, open(sys.argv[1], "w", newline="", encoding="utf-8") as file:
    host, port = sys.argv[2:] or ("127.0.0.1", simulator.port)
    rows = csv.writer(file)
    columns = ["lTime1", "lTime2", "dVal1", "dVal2", "dVal3"]  # seconds, microseconds, coordinates
    rows.writerow(columns)
    try:
        with kestrine.Tracker(host, int(port)) as tracker:
            tracker.Initialize()
            tracker.SetMeasurementMode(kestrine.constants.VL_MM_ContinuousTime)
            tracker.SetContinuousTimeModeParams(5, 0, False, kestrine.constants.VL_RT_Sphere)  # every 5 ms
            with tracker.on_points(lambda points: rows.writerows(points[columns].tolist())):
                tracker.StartContinuousPointMeasurement()
                kestrine.PumpEvents(10)
                tracker.StopContinuousMeasurement()
    except kestrine.com_error as error:
        sys.exit(f"stream_to_file: {error}")
