"""Reads the schema files and remembers on which line each table, each key and each row stands.

The TOML reader of the standard library keeps no lines. They are found again by the layout that the files keep to:
a table begins at its [[header]], a key at the start of a line, and every row of a list is a line of its own that begins
with a bracket. A list with one row may stand in the line of its key.
"""

import re
import tomllib
from collections.abc import Sequence
from pathlib import Path

from .errors import SchemaError, Where, require, require_known

_HEADER = re.compile(r"\[\[([\w.]+)\]\]")
_KEY = re.compile(r"(\w+)\s*=\s*(\[?\s*\[?)")


class Row(list):
    """One row of a list, such as a field of a record."""

    def __init__(self, cells: list, where: Where):
        super().__init__(cells)
        self.where = where


class Block:
    """Where a table, its keys and its rows stand."""

    def __init__(self, path: str, line: int):
        self.where = Where(path, line)
        self.keys: dict[str, Where] = {}
        self.rows: dict[str, list[Where]] = {}


class Table(dict):
    """One [[table]], or a whole file; its lists of lists are rows."""

    def __init__(self, data: dict, block: Block, parts: dict[str, list["Table"]]):
        super().__init__(data)
        self.where = block.where
        self._block, self._parts = block, parts

    def at(self, key: str) -> Where:
        """The line of a key, or the table's own where it has no such key."""
        return self._block.keys.get(key, self.where)

    def parts(self, kind: str) -> list["Table"]:
        """The [[table.kind]] tables that belong to this one."""
        return self._parts.get(kind, [])

    def rows(self, key: str, *shapes: tuple[type, ...]) -> list[Row]:
        """The rows of a list, each of which must have the types of one of the shapes."""
        cells = self.take(key, list, [])
        places = self._block.rows.get(key, [])
        require(len(places) == len(cells), self.at(key),
                f"{key}: every row must be one line that begins with a bracket")
        rows = [Row(cell, where) for cell, where in zip(cells, places)]
        for row in rows:
            if tuple(type(cell) for cell in row) not in shapes:
                wanted = " or ".join("[" + ", ".join(kind.__name__ for kind in shape) + "]" for shape in shapes)
                raise SchemaError(row.where, f"a row of {key} is {wanted}")
        return rows

    def take(self, key: str, kind: type, default=None):
        """A value of the table; one without a default must be there."""
        value = self.get(key, default)
        require(value is not None, self.where, f"{key} is missing")
        require(type(value) is kind, self.at(key), f"{key} must be of type {kind.__name__}")
        return value

    def words(self, key: str) -> list[str] | None:
        """A list of texts, or None where there is none."""
        values = self.take(key, list) if key in self else None
        require(values is None or all(isinstance(value, str) for value in values), self.at(key),
                f"{key} must be a list of texts")
        return values

    def allow(self, keys: Sequence[str], parts: Sequence[str] = ()) -> None:
        for key in self:
            require_known(key, keys, self.at(key), "key here")
        for kind, tables in self._parts.items():
            require_known(kind, parts, tables[0].where, "table here")


class Source:
    """All tables of all files of a folder, by kind, in file order."""

    def __init__(self, folder: Path):
        self._files: list[Table] = []
        self._kinds: set[str] = set()  # of the tables and the lists that anybody has asked for
        self._lists: set[str] = set()
        self._root = folder.absolute().parent
        for path in sorted(folder.absolute().rglob("*.toml")):
            self._read(path)

    def tables(self, kind: str) -> list[Table]:
        self._kinds.add(kind)
        return [table for file in self._files for table in file.parts(kind)]

    def rows(self, key: str, *shapes: tuple[type, ...]) -> list[Row]:
        """The rows of a list that stands before the first table of some file."""
        self._lists.add(key)
        return [row for file in self._files if key in file for row in file.rows(key, *shapes)]

    def check_all_read(self) -> None:
        """What nobody has asked for is misspelt."""
        for file in self._files:
            file.allow(sorted(self._lists), sorted(self._kinds))

    def _read(self, path: Path) -> None:
        text, name = path.read_text(encoding="utf-8"), str(path.relative_to(self._root))
        try:
            data = tomllib.loads(text)
        except tomllib.TOMLDecodeError as error:
            line = re.search(r"at line (\d+)", str(error))
            raise SchemaError(Where(name, int(line[1]) if line else text.count("\n") + 1), str(error)) from error
        self._files.append(_table(data, "", _blocks(name, text.split("\n"))))


def _table(data: dict, kind: str, blocks: dict[str, list[Block]]) -> Table:
    """A table with those inside it. Every one takes the next place of its kind."""
    block = blocks[kind].pop(0)
    parts = {key: [_table(entry, f"{kind}.{key}".lstrip("."), blocks) for entry in value]
             for key, value in data.items() if _is_tables(value)}
    return Table({key: value for key, value in data.items() if key not in parts}, block, parts)


def _is_tables(value) -> bool:
    return isinstance(value, list) and bool(value) and isinstance(value[0], dict)


def _blocks(path: str, lines: list[str]) -> dict[str, list[Block]]:
    block = Block(path, 1)
    blocks = {"": [block]}
    rows = None
    for number, line in enumerate(lines, 1):
        where, stripped = Where(path, number), line.strip()
        if header := _HEADER.match(stripped):
            block = Block(path, number)
            blocks.setdefault(header[1], []).append(block)
        elif key := _KEY.match(line):
            block.keys[key[1]] = where
            rows = block.rows.setdefault(key[1], [])
            if key[2].count("[") == 2:
                rows.append(where)
        elif stripped.startswith("[") and rows is not None:
            rows.append(where)
    return blocks
