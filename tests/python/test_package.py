"""What a reader and an editor find: help, signatures, stubs, constants, records."""

import ast
import inspect
import os
import pydoc
import re
import subprocess
import sys
from pathlib import Path

import pytest

import kestrine

PACKAGE = Path(kestrine.__file__).parent
ROOT = Path(__file__).parents[2]


def test_help_shows_the_parameters_the_units_and_what_comes_back(tracker, sender):
    text = pydoc.plain(pydoc.render_doc(tracker.GoPosition))
    assert "GoPosition(val1: float, val2: float, val3: float, useADM: bool)" in text
    assert "lengthUnit: VL_LengthUnit" in inspect.getdoc(tracker.GetUnits)
    assert "val1..val3: float, coordinate" in text
    assert "Returns" not in (told := inspect.getdoc(sender.GetUnits)) and "UnitsData" in told
    assert {"Initialize", "GetUnits"} <= set(dir(tracker)) and "GetUnits" in dir(sender)


def test_the_stubs_declare_what_the_objects_have(connection, tracker, sender):
    stubs = {node.name: node for node in ast.parse((PACKAGE / "_interfaces.pyi").read_text()).body
             if isinstance(node, ast.ClassDef)}
    for target in (connection, tracker, sender):
        interface = stubs[type(target).__name__]
        rows = {row.name: row for row in interface.body if isinstance(row, ast.FunctionDef)}
        fields = {row.target.id for row in interface.body if isinstance(row, ast.AnnAssign)}
        assert {*rows, *fields} == set(target._members_.values())
        for name, row in rows.items():
            if not row.decorator_list:
                parameters = list(inspect.signature(getattr(target, name)).parameters)
                assert [argument.arg for argument in row.args.args[1:]] == parameters
    assert (PACKAGE / "py.typed").exists() and kestrine.__version__.split(".")[2] == str(connection.BuildNumber)


@pytest.mark.classic
def test_an_import_chooses_modern_behaviour_unless_the_environment_says_otherwise(connection):
    assert kestrine.behaviour() == os.environ.get("KESTRINE_BEHAVIOUR", "modern")
    assert kestrine.set_behaviour("modern" if kestrine.behaviour() == "classic" else "classic") is False


MISTAKE = """import kestrine
tracker = kestrine.Dispatch("Kestrine.LTCommandSync2")
tracker.SetMeasurementMode(kestrine.constants.VL_LU_Foot)
"""


def test_a_type_checker_finds_nothing_in_what_is_shown_and_a_mistake_elsewhere(tmp_path):
    pytest.importorskip("mypy")
    pages = [ROOT / "README.md", *(ROOT / "docs").glob("[ge]*/*.md")]
    blocks = [block for page in pages for block in re.findall(r"```python\n(.*?)```", page.read_text(), re.S)]
    for number, code in enumerate(blocks):
        (tmp_path / f"snippet{number}.py").write_text(code)
    (tmp_path / "mistake.py").write_text(MISTAKE)
    done = subprocess.run([sys.executable, "-m", "mypy", "--strict", "--ignore-missing-imports",
                           "--follow-imports=silent", "--cache-dir", PACKAGE.parents[1] / "mypy", *tmp_path.glob("*.py"),
                           *(ROOT / "examples").glob("*.py")],
                          env={"MYPYPATH": str(PACKAGE.parent)}, capture_output=True, text=True, timeout=300)
    found = done.stdout.splitlines()
    assert len(found) == 2 and "mistake.py:3: error" in found[0] and "VL_MeasMode" in found[0], done.stdout
