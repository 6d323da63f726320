"""kestrine.points gives an array over the bytes it is handed, so a longer block must cost no more than a short one."""

import statistics
import struct
import timeit

import kestrine

_HEAD = 48  # of a block of points
_POINT = 36


def block(points: int) -> bytes:
    size = _HEAD + points * _POINT
    return struct.pack("<iiii", size, 3, 0, points).ljust(size, b"\0")


def seconds(packet: bytes) -> float:
    return min(timeit.repeat(lambda: kestrine.points(packet), number=1000, repeat=5)) / 1000


def main() -> None:
    few, many = block(10), block(3600)
    rounds = [(seconds(few), seconds(many)) for _ in range(9)]
    ratio = statistics.median(long / short for short, long in rounds)
    print(f"  {'kestrine.points, 3,600 points : 10':<40} {ratio:6.3f}  ({rounds[0][1] * 1e6:.1f} us each)")


if __name__ == "__main__":
    main()
