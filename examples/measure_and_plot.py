"""Measures the same target a few times and plots how the points scatter.

    measure_and_plot.py [ADDRESS PORT]      without an address a simulator is measured
"""

import contextlib
import statistics
import sys

import kestrine


def measure(address: str, port: int, count: int) -> list[tuple[float, float, float]]:
    with kestrine.Tracker(address, port) as tracker:
        tracker.Initialize()
        tracker.SetUnits(kestrine.constants.VL_LU_Millimeter, kestrine.constants.VL_AU_Degree,
                         kestrine.constants.VL_TU_Celsius, kestrine.constants.VL_PU_Mbar, kestrine.constants.VL_HU_RH)
        tracker.SetMeasurementMode(kestrine.constants.VL_MM_Stationary)
        tracker.SetStationaryModeParams(time=500, useADM=False)
        return [tracker.MeasureStationaryPoint()[:3] for _ in range(count)]


def plot(offsets: list[list[float]], file: str) -> None:
    try:
        import matplotlib
    except ImportError:
        print("no plot: matplotlib is not installed (python3-matplotlib)")
        return
    matplotlib.use("Agg")
    from matplotlib import pyplot

    for axis, values in zip("XYZ", offsets):
        pyplot.plot(range(1, len(values) + 1), values, "o-", label=axis)
    pyplot.xlabel("measurement")
    pyplot.ylabel("deviation from the mean [µm]")
    pyplot.legend()
    pyplot.savefig(file)
    print(f"plot: {file}")


def main() -> None:
    with contextlib.ExitStack() as stack:
        if len(sys.argv) == 3:
            address, port = sys.argv[1], int(sys.argv[2])
        else:
            address, port = "127.0.0.1", stack.enter_context(kestrine.Simulator()).port
        points = measure(address, port, 6)
    for point in points:
        print("{:12.4f} {:12.4f} {:12.4f} mm".format(*point))
    axes = list(zip(*points))
    plot([[1000 * (value - statistics.mean(axis)) for value in axis] for axis in axes], "points.svg")


if __name__ == "__main__":
    try:
        main()
    except kestrine.com_error as error:
        sys.exit(f"measure_and_plot: {error}")
