"""What tests of the command line tool have in common: they run it, show it a terminal and read its files."""

import csv
import json
import os
import pty
import re
import select
import subprocess
import tempfile
import time
import unittest
import xml.etree.ElementTree as xml
from pathlib import Path

TOOL = os.environ["KESTRINE"]
SIMULATOR = os.environ["KESTRINE_SIMULATOR"]
PATIENCE = 60  # seconds; for a machine under load


class Terminal:
    """Stands in for the terminal that progress is shown on."""

    def __init__(self):
        self.near, self.far = pty.openpty()
        self.text = ""

    def close(self):
        os.close(self.near)
        os.close(self.far)

    def wait_for(self, pattern):
        deadline = time.monotonic() + PATIENCE
        while not re.search(pattern, self.text):
            ready, _, _ = select.select([self.near], [], [], max(0, deadline - time.monotonic()))
            if not ready:
                raise AssertionError(f"no {pattern!r} in {self.text!r}")
            self.text += os.read(self.near, 65536).decode()


class ToolCase(unittest.TestCase):
    """Has a folder for the three output files."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.files = {kind: self.folder / f"out.{kind}" for kind in ("csv", "json", "svg")}
        self.outputs = [word for kind, path in self.files.items() for word in (f"--{kind}", str(path))]

    def run_tool(self, *arguments, **keywords):
        pipes = {"stdout": subprocess.PIPE, "stderr": subprocess.PIPE}
        return subprocess.run([TOOL, *arguments], text=True, timeout=PATIENCE, **pipes | keywords)

    def start_on_terminal(self, *arguments):
        terminal = Terminal()
        self.addCleanup(terminal.close)
        process = subprocess.Popen([TOOL, *arguments], stdout=subprocess.PIPE, stderr=terminal.far, text=True)
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        return process, terminal

    def check_files(self):
        """All three are whole and agree; returns the points."""
        self.assertEqual(set(self.folder.iterdir()), set(self.files.values()))
        with open(self.files["csv"], newline="") as file:
            table = [{name: float(value) for name, value in row.items()} for row in csv.DictReader(file)]
        lines = [json.loads(line) for line in self.files["json"].read_text().splitlines()]
        self.assertEqual(table, lines)
        self.assertEqual([row["index"] for row in table], list(range(1, len(table) + 1)))
        self.assertEqual(xml.parse(self.files["svg"]).getroot().tag, "{http://www.w3.org/2000/svg}svg")
        return table

    def remove_files(self):
        for path in self.folder.iterdir():
            path.unlink()

    def check_refusal(self, run, status, pattern):
        self.assertEqual(run.returncode, status, run)
        self.assertRegex(run.stderr, r"\Akestrine: [^\n]*" + pattern + r"[^\n]*\n\Z")

    def start_simulator(self, *arguments):
        """Returns the process and its port."""
        server = subprocess.Popen([SIMULATOR, "--port", "0", *arguments], stdout=subprocess.PIPE, text=True)
        self.addCleanup(server.stdout.close)
        self.addCleanup(server.wait)
        self.addCleanup(server.kill)
        return server, server.stdout.readline().strip().rpartition(":")[2]
