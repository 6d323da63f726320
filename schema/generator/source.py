"""Reads the schema files and remembers on which line each table and each row stands.

The TOML reader of the standard library keeps no lines. They are found again by the layout that the files keep to:
a table begins at its [[header]], and every row of a list is a line of its own that begins with a bracket.
"""

import re
import tomllib
from pathlib import Path

from .errors import SchemaError, Where, require

_HEADER = re.compile(r"\[\[(\w+)\]\]")
_LIST = re.compile(r"(\w+)\s*=\s*\[\s*$")


class Row(list):
    """One row of a list, such as a field of a record."""

    def __init__(self, cells: list, where: Where):
        super().__init__(cells)
        self.where = where


class Table(dict):
    """One [[table]], or what stands before the first of them; its lists of lists are rows."""

    def __init__(self, data: dict, where: Where, row_lines: dict[str, list[int]]):
        super().__init__(data)
        self.where = where
        self._row_lines = row_lines

    def rows(self, key: str, *shapes: tuple[type, ...]) -> list[Row]:
        """The rows of a list, each of which must have the types of one of the shapes."""
        cells = self.get(key, [])
        lines = self._row_lines.get(key, [])
        if len(lines) != len(cells):
            raise SchemaError(self.where, f"{key}: every row must be one line that begins with a bracket")
        rows = [Row(cell, Where(self.where.path, line)) for cell, line in zip(cells, lines)]
        for row in rows:
            if tuple(type(cell) for cell in row) not in shapes:
                wanted = " or ".join("[" + ", ".join(kind.__name__ for kind in shape) + "]" for shape in shapes)
                raise SchemaError(row.where, f"a row of {key} is {wanted}")
        return rows

    def take(self, key: str, kind: type, default=None):
        """A value of the table; one without a default must be there."""
        value = self.get(key, default)
        if value is None:
            raise SchemaError(self.where, f"{key} is missing")
        if type(value) is not kind:
            raise SchemaError(self.where, f"{key} must be of type {kind.__name__}")
        return value

    def allow(self, *keys: str) -> None:
        for key in self:
            if key not in keys:
                raise SchemaError(self.where, f"{key} is not known here")


class Source:
    """All tables of all files of a folder, by kind, in file order."""

    def __init__(self, folder: Path):
        self._tables: dict[str, list[Table]] = {}
        self._asked: set[str] = {""}
        for path in sorted(folder.glob("*.toml")):
            self._read(path)

    def tables(self, kind: str) -> list[Table]:
        self._asked.add(kind)
        return self._tables.get(kind, [])

    def rows(self, key: str, *shapes: tuple[type, ...]) -> list[Row]:
        """The rows of a list that stands before the first table of some file."""
        self._asked.add(key)
        return [row for table in self.tables("") if key in table for row in table.rows(key, *shapes)]

    def check_all_read(self) -> None:
        """What nobody has asked for is misspelt."""
        for kind, tables in self._tables.items():
            for table in tables:
                require(kind in self._asked, table.where, f"[[{kind}]] is not known")
        for table in self.tables(""):
            table.allow(*self._asked)

    def _read(self, path: Path) -> None:
        text = path.read_text(encoding="utf-8")
        try:
            data = tomllib.loads(text)
        except tomllib.TOMLDecodeError as error:
            line = re.search(r"at line (\d+)", str(error))
            last = text.count("\n") + 1
            raise SchemaError(Where(path.name, int(line[1]) if line else last), str(error)) from error
        blocks = _blocks(path.name, text.split("\n"))
        top = {key: value for key, value in data.items() if not _is_tables(value)}
        self._add("", top, blocks[("", 0)])
        for kind, value in data.items():
            if _is_tables(value):
                for index, entry in enumerate(value):
                    self._add(kind, entry, blocks[(kind, index)])

    def _add(self, kind: str, data: dict, block: tuple[Where, dict[str, list[int]]]) -> None:
        self._tables.setdefault(kind, []).append(Table(data, *block))


def _is_tables(value) -> bool:
    return isinstance(value, list) and bool(value) and isinstance(value[0], dict)


def _blocks(name: str, lines: list[str]) -> dict[tuple[str, int], tuple[Where, dict[str, list[int]]]]:
    found: dict[str, int] = {}
    current: dict[str, list[int]] = {}
    blocks = {("", 0): (Where(name, 1), current)}
    rows = None
    for number, line in enumerate(lines, 1):
        stripped = line.strip()
        if header := _HEADER.match(stripped):
            kind = header[1]
            current = {}
            blocks[(kind, found.get(kind, 0))] = (Where(name, number), current)
            found[kind] = found.get(kind, 0) + 1
        elif opened := _LIST.match(stripped):
            rows = current.setdefault(opened[1], [])
        elif stripped.startswith("]"):
            rows = None
        elif stripped.startswith("[") and rows is not None:
            rows.append(number)
    return blocks
