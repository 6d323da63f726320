"""Measures ten points.     measure_points.py [ADDRESS PORT]      without an address a simulator is measured"""
import sys

import kestrine

with kestrine.Simulator(time_scale=0) as simulator:
    host, port = sys.argv[1:] or ("127.0.0.1", simulator.port)
    try:
        with kestrine.Tracker(host, int(port)) as tracker:
            tracker.Initialize()
            for number in range(1, 11):
                point = tracker.MeasureStationaryPoint()
                print(f"{number:2}: {point.val1:.6f} {point.val2:.6f} {point.val3:.6f}, deviation {point.stdTotal:.7f}")
    except kestrine.com_error as error:
        sys.exit(f"measure_points: {error}")
