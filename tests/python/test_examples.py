"""The examples, each with a simulator of its own, and with nobody."""

import re
import subprocess
import sys
from pathlib import Path

import pytest

EXAMPLES = Path(__file__).parents[2] / "examples"


@pytest.mark.parametrize("name, file, shown", [
    ("measure_points", [], r"( ?\d+: .*\n){10}$"),
    ("own_loop", [], r"(.*\n)*block: .*\n(.*\n)*air: 20.0 °C\n"),
    ("measure_and_plot", [], r"(.* mm\n){6}(no )?plot: "),
    ("stream_to_file", ["points.csv"], ""),
    ("asyncio_events", [], r"(.*\n)*reflectors: .*\n(.*\n)*block 5: \d+ points\n"),
])
def test_does_what_it_says_and_says_that_nobody_answers(tmp_path, name, file, shown):
    def run(*server):
        return subprocess.run([sys.executable, EXAMPLES / f"{name}.py", *file, *server], capture_output=True, text=True,
                              cwd=tmp_path, timeout=120)

    done = run()
    assert done.returncode == 0, done.stderr
    assert re.match(shown, done.stdout), done.stdout
    if name == "stream_to_file":
        assert len(re.findall(r"(?m)^(.+,){4}.+$", (tmp_path / "points.csv").read_text())) > 1000
    done = run("127.0.0.1", "1")
    assert done.returncode == 1 and done.stderr.startswith(f"{name}: Connection to Vorelan server failed.")
