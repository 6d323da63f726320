"""The generator against a tiny schema: what it writes, and that every bad row is refused where it stands."""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from bad_rows import BAD_ROWS, BadRow

HERE = Path(__file__).parent
SCHEMA = HERE.parent.parent / "schema"
GENERATE = SCHEMA / "generate.py"
sys.path.insert(0, str(SCHEMA))

from generator.errors import SchemaError  # noqa: E402
from generator.model.schema import Schema  # noqa: E402


def generate(*arguments: object) -> subprocess.CompletedProcess:
    command = [sys.executable, "-B", str(GENERATE), *map(str, arguments)]
    return subprocess.run(command, capture_output=True, text=True, check=False)


def files_of(folder: Path) -> dict[str, str]:
    return {str(path.relative_to(folder)): path.read_text() for path in folder.rglob("[!.]*") if path.is_file()}


def line_of(text: str, piece: str) -> int:
    return text[: text.index(piece)].count("\n") + 1


class TinySchema(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.out = Path(folder.name)

    def test_gives_the_expected_files(self):
        self.assertEqual(generate("--schema", HERE / "tiny", "--out", self.out).stderr, "")
        written = files_of(self.out)
        for name, text in files_of(HERE / "expected").items():
            with self.subTest(name):
                self.assertMultiLineEqual(written[name], text)

    def test_gives_the_files_that_it_lists(self):
        generate("--schema", HERE / "tiny", "--out", self.out)
        self.assertEqual(sorted(files_of(self.out)), sorted(generate("--list-outputs").stdout.split()))

    def test_leaves_a_file_alone_that_would_not_change(self):
        generate("--schema", HERE / "tiny", "--out", self.out)
        same, changed = self.out / "include/kestrine/enums.h", self.out / "include/kestrine/records.h"
        before = same.stat().st_mtime_ns
        changed.write_text("old")
        generate("--schema", HERE / "tiny", "--out", self.out)
        self.assertEqual(same.stat().st_mtime_ns, before)
        self.assertNotEqual(changed.read_text(), "old")


class BadSchema(unittest.TestCase):
    def test_is_refused_at_the_line_of_the_mistake(self):
        for bad in BAD_ROWS:
            with self.subTest(bad.mistake), tempfile.TemporaryDirectory() as folder:
                self.check(bad, Path(folder))

    def test_ends_with_an_error_and_writes_nothing(self):
        with tempfile.TemporaryDirectory() as name:
            folder = Path(name)
            (folder / "bad.toml").write_text("[[enum]]\n")
            result = generate("--schema", folder, "--out", folder / "out")
            self.assertEqual((result.returncode, result.stderr), (1, "bad.toml:1: name is missing\n"))
            self.assertFalse((folder / "out").exists())

    def check(self, bad: BadRow, folder: Path):
        files = files_of(HERE / "tiny")
        changed_line = line_of(files[bad.file], bad.old)
        files[bad.file] = files[bad.file].replace(bad.old, bad.new, 1)
        for name, text in files.items():
            (folder / name).write_text(text)
        with self.assertRaises(SchemaError) as caught:
            Schema(folder)
        place, message = str(caught.exception).split(": ", 1)
        self.assertIn(bad.message, message)
        file, line = place.split(":")
        if bad.at:
            self.assertEqual(int(line), line_of(files[file], bad.at))
        else:
            self.assertEqual((file, int(line)), (bad.file, changed_line))


if __name__ == "__main__":
    unittest.main()
