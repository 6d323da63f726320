"""The library itself: its version, its classes, and the identifiers that are fixed for ever."""

from dataclasses import dataclass
from uuid import UUID

from ..errors import require
from ..source import Source, Table
from .names import Scope

# The list in the schema and the prefix of the constants made from it.
PREFIXES = {"applications": "APPID_", "libraries": "LIBID_", "classes": "CLSID_",
            "interfaces": "IID_", "event_interfaces": "DIID_"}


@dataclass(frozen=True)
class Identifier:
    name: str
    constant: str
    value: UUID


@dataclass(frozen=True)
class ComponentClass:
    name: str
    program: str  # the name that programs and scripts find it by; with ".1" the one of its version

    @property
    def for_scripts(self) -> bool:
        """The second generation can be called by name."""
        return self.name.endswith("2")


@dataclass(frozen=True)
class Library:
    version: list[int]
    type_library_version: list[int]
    classes: list[ComponentClass]
    identifiers: list[Identifier]


def load_library(source: Source) -> Library:
    names, values = Scope("the identifier of"), Scope("the identifier")
    identifiers = []
    for key, prefix in PREFIXES.items():
        for row in source.rows(key, (str, str)):
            names.claim_name(row[0], row.where)
            try:
                value = UUID(row[1])
            except ValueError:
                value = None
            require(value is not None and str(value) == row[1], row.where, f"{row[1]} is no identifier")
            values.claim(value, row.where)
            identifiers.append(Identifier(row[0], prefix + row[0], value))
    application = next((each.name for each in identifiers if each.constant.startswith("APPID_")), "")
    classes = [ComponentClass(each.name, f"{application}.{each.name}") for each in identifiers
               if each.constant.startswith("CLSID_")]
    tables = source.tables("version")
    for table in tables:
        table.allow(("file", "type_library"))
    return Library(_numbers(tables, "file", 4), _numbers(tables, "type_library", 2), classes, identifiers)


def _numbers(tables: list[Table], key: str, count: int) -> list[int]:
    if not tables:
        return [0] * count
    numbers = tables[0].take(key, list)
    require(len(numbers) == count and all(type(number) is int for number in numbers), tables[0].at(key),
            f"{key} has {count} numbers")
    return numbers
