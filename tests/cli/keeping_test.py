"""What the tool keeps of a measurement, whatever ends it, and how soon it heeds who wants to end it."""

import json
import os
import signal
import socket
import subprocess
import time
import unittest

from tool import PATIENCE, TOOL, ToolCase

LONG = ["stream", "--simulate", "--duration", "3600"]
SOON = 2  # seconds; far less than any waiting time of the library, and enough for a machine under load


class KeepingTest(ToolCase):
    def start(self, *arguments):
        process = subprocess.Popen([TOOL, *arguments], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        self.addCleanup(process.communicate)
        self.addCleanup(process.kill)
        return process

    def wait_for_rows(self, count):
        deadline = time.monotonic() + PATIENCE
        path = self.files["csv"]
        while not path.exists() or path.read_text().count("\n") <= count:
            self.assertLess(time.monotonic(), deadline)
            time.sleep(0.01)

    def end(self, process, number):
        """Returns standard output and error; the tool must not take long."""
        start = time.monotonic()
        process.send_signal(number)
        texts = process.communicate(timeout=PATIENCE)
        self.assertLess(time.monotonic() - start, SOON)
        return texts

    def test_rows_are_there_as_they_come_and_whole_whatever_ends_the_run(self):
        for number, status in ((signal.SIGKILL, -9), (signal.SIGHUP, 130), (signal.SIGTERM, 130)):
            with self.subTest(number):
                self.files["csv"].symlink_to("old")
                (self.folder / "old").write_text("old")
                process = self.start(*LONG, *self.outputs)
                self.wait_for_rows(300)
                self.end(process, number)
                self.assertEqual(process.returncode, status)
                text = (self.folder / "old").read_text()
                self.assertTrue(text.startswith("index,") and text.endswith("\n"))
                rows = [json.loads(line) for line in self.files["json"].read_text().splitlines()]
                self.assertEqual([row["index"] for row in rows], list(range(1, len(rows) + 1)))
                self.assertGreaterEqual(len(rows), 200)  # the last packet may be in the other file only
                self.remove_files()

    def test_a_second_interrupt_leaves_at_once_with_whole_files(self):
        server, port = self.start_simulator()
        process = self.start("stream", "--host", "localhost", "--port", port, "--mode", "distance", *self.outputs)
        self.wait_for_rows(10)
        server.send_signal(signal.SIGSTOP)
        os.waitpid(server.pid, os.WUNTRACED)  # until it has stopped
        process.send_signal(signal.SIGINT)
        time.sleep(0.02)  # less than it waits for the tracker's answer, which does not come
        out, _ = self.end(process, signal.SIGINT)
        self.assertEqual(process.returncode, 130)
        self.assertNotIn("received", out)
        self.assertTrue(self.files["csv"].read_text().endswith("\n"))

    def test_an_interrupt_is_heeded_while_the_tracker_is_silent(self):
        with socket.create_server(("127.0.0.1", 0)) as silent:
            for verb in ("measure", "stream"):
                process = self.start(verb, "--host", "127.0.0.1", "--port", str(silent.getsockname()[1]))
                self.addCleanup(silent.accept()[0].close)
                time.sleep(0.2)
                out, _ = self.end(process, signal.SIGINT)
                self.assertEqual((process.returncode, out), (130, "stopped before the first point\n"))

    def test_a_stream_that_stops_early_is_said_to_have_stopped(self):
        server, port = self.start_simulator()
        process = self.start("stream", "--host", "localhost", "--port", port, "--duration", "2", *self.outputs)
        self.wait_for_rows(100)
        server.send_signal(signal.SIGSTOP)
        start = time.monotonic()
        out, errors = process.communicate(timeout=PATIENCE)
        self.assertLess(time.monotonic() - start, 2 * SOON + 2)
        self.assertEqual(process.returncode, 1)
        self.assertRegex(out, r"\nMISSING +everything after [01]\.\d+ s\n")
        self.assertRegex(errors, r"the stream stopped early, after [01]\.\d+ s of 2 s\n\Z")

    def test_rows_go_to_standard_output_and_to_pipes(self):
        measure = ["measure", "--simulate", "--speed", "20", "--points", "3"]
        run = self.run_tool(*measure, "--json", "-")
        self.assertEqual([json.loads(line)["index"] for line in run.stdout.splitlines()], [1, 2, 3])
        self.assertIn("serial number", run.stderr)
        os.mkfifo(pipe := self.folder / "pipe")
        process = self.start(*measure, "--csv", str(pipe))
        self.assertEqual(pipe.read_text().count("\n"), 4)
        self.assertEqual(process.wait(PATIENCE), 0)
        self.assertTrue(pipe.is_fifo())

    def test_an_output_that_takes_no_more_ends_the_run_and_the_others_have_all_points(self):
        run = self.run_tool(*LONG, "--csv", "/dev/full", "--json", str(self.files["json"]))
        self.check_refusal(run, 1, "cannot write /dev/full: No space")
        self.assertRegex(run.stdout, rf"points +{self.files['json'].read_text().count(chr(10))} in ")


if __name__ == "__main__":
    unittest.main()
