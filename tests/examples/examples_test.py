"""Runs every example against the simulator, and against nobody."""

import os
import subprocess
import unittest
from pathlib import Path

EXAMPLES = Path(os.environ["EXAMPLES"])
ENVIRONMENT = os.environ | {"KESTRINE_PROFILE_DIR": "/nowhere"}


class Examples(unittest.TestCase):
    def setUp(self):
        self.simulator = subprocess.Popen([os.environ["KESTRINE_SIMULATOR"], "--port", "0"], stdout=subprocess.PIPE,
                                          text=True)
        self.port = self.simulator.stdout.readline().rsplit(":", 1)[1].strip()

    def tearDown(self):
        self.simulator.terminate()
        self.simulator.communicate(timeout=10)

    def start(self, name: str) -> subprocess.Popen:
        return subprocess.Popen([EXAMPLES / name, "localhost", self.port], stdin=subprocess.PIPE,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, env=ENVIRONMENT)

    def run_to_end(self, name: str) -> str:
        process = self.start(name)
        out, errors = process.communicate(timeout=30)
        self.assertEqual((process.returncode, errors), (0, ""))
        return out

    def test_measure_points(self):
        for name, points in ("measure_point", 1), ("measure_ten_points", 10):
            lines = self.run_to_end(name).splitlines()
            self.assertEqual(len(lines), points)
            self.assertAlmostEqual(float(lines[-1].split()[0]), 0.26, places=4)

    def test_writes_a_stream(self):
        header, *lines = self.run_to_end("stream_to_csv").splitlines()
        times = [float(line.split(",")[0]) for line in lines]
        self.assertEqual((header, times), ("time,x,y,z", sorted(times)))
        self.assertGreater(times[-1], 9.9)

    def test_reacts_to_the_events_of_a_stream(self):
        counts = [int(line.split()[0]) for line in self.run_to_end("react_to_events").splitlines()]
        self.assertGreater(counts[-1], 100)
        self.assertEqual(counts, sorted(counts))

    def test_shows_positions_from_a_loop_of_its_own_until_a_line_comes(self):
        process = self.start("poll_loop")
        self.assertEqual([len(process.stdout.readline().split()) for _ in range(2)], [3, 3])
        _, errors = process.communicate("\n", timeout=10)
        self.assertEqual((process.returncode, errors), (0, ""))

    def test_says_what_failed(self):
        self.simulator.terminate()
        self.simulator.wait(10)
        for name in ("measure_ten_points", "stream_to_csv", "measure_point", "react_to_events", "poll_loop"):
            process = self.start(name)
            out, errors = process.communicate(timeout=30)
            self.assertEqual((process.returncode, out), (1, ""))
            self.assertIn("(error 40011)", errors)


if __name__ == "__main__":
    unittest.main()
