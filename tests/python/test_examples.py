"""The examples, each with a simulator of its own."""

import subprocess
import sys
from pathlib import Path

import pytest

EXAMPLES = Path(__file__).parents[2] / "examples"


def run(name, *arguments, cwd):
    return subprocess.run([sys.executable, EXAMPLES / name, *arguments], capture_output=True, text=True, cwd=cwd,
                          timeout=120)


def test_measures_and_plots_or_says_why_not(tmp_path):
    done = run("measure_and_plot.py", cwd=tmp_path)
    assert done.returncode == 0, done.stderr
    assert done.stdout.count(" mm\n") == 6 and "plot: " in done.stdout


def test_writes_a_stream_to_a_file(tmp_path):
    done = run("stream_to_file.py", "points.csv", cwd=tmp_path)
    assert done.returncode == 0, done.stderr
    rows = (tmp_path / "points.csv").read_text().splitlines()
    assert len(rows) == 501 and len(rows[-1].split(",")) == 4


def test_reacts_to_events_with_asyncio(tmp_path):
    done = run("asyncio_events.py", cwd=tmp_path)
    assert done.returncode == 0, done.stderr
    assert "block 5: " in done.stdout and "reflectors: " in done.stdout


@pytest.mark.parametrize("name, before", [("measure_and_plot.py", []), ("stream_to_file.py", ["f"]),
                                          ("asyncio_events.py", [])])
def test_says_that_nobody_answers(tmp_path, name, before):
    done = run(name, *before, "127.0.0.1", "1", cwd=tmp_path)
    assert done.returncode == 1 and done.stderr.startswith(name[:-3] + ": Connection to Vorelan server failed.")
