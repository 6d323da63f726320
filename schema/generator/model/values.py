"""Lists of values: what is handed out of a record, under which names and as which types."""

from dataclasses import dataclass

from ..errors import Where, require
from ..source import Source, Table
from .enums import Enum
from .names import Scope
from .records import Leaf, Record, Records

# What a field of a record can be handed out as; an enumeration only as itself.
_FITTING = {"long": ("int32",), "double": ("double",), "bool": ("bool32",), "text": ("text32", "text128"),
            "variant": ("byte",)}


@dataclass(frozen=True)
class Value:
    name: str
    type: str
    leaf: Leaf | None  # None where the value comes from no packet


@dataclass(frozen=True)
class ValueList:
    name: str
    records: list[Record]
    values: list[Value]


class ValueLists:
    """All lists by name. A list that nothing refers to is a mistake in the schema."""

    def __init__(self, source: Source, records: Records, enums: dict[str, Enum]):
        names = Scope("the list")
        self._lists: dict[str, ValueList] = {}
        self._unused: dict[str, Where] = {}
        for table in source.tables("values"):
            table.allow("name", "records", "rows")
            name = table.take("name", str)
            names.claim_name(name, table.where)
            self._lists[name] = _load_list(name, table, records, enums)
            self._unused[name] = table.where

    def get(self, name: str, where: Where) -> ValueList:
        require(name in self._lists, where, f"there is no list of values {name}")
        self._unused.pop(name, None)
        return self._lists[name]

    def check_all_used(self) -> None:
        for name, where in self._unused.items():
            require(False, where, f"nothing refers to the list {name}")


def _load_list(name: str, table: Table, records: Records, enums: dict[str, Enum]) -> ValueList:
    from_records = [records.get(record, table.where) for record in table.take("records", list, [])]
    parameters = Scope(f"in {name} the parameter")
    values = []
    for row in table.rows("rows", (str, str, str)):
        parameter, kind, path = row
        parameters.claim_name(parameter, row.where)
        check_type(kind, enums, row.where)
        require(bool(path) == bool(from_records), row.where, "a field belongs to a record, and a record to every field")
        leaves = [_find(record, path, row.where) for record in from_records]
        require(len(set(leaves)) <= 1, row.where, f"{path} differs between the records")
        for leaf in leaves:
            require(leaf.type in _FITTING.get(kind, (kind,)), row.where,
                    f"{path} is of type {leaf.type} and cannot be handed out as {kind}")
        values.append(Value(parameter, kind, leaves[0] if leaves else None))
    return ValueList(name, from_records, values)


def check_type(kind: str, enums: dict[str, Enum], where: Where) -> None:
    require(kind in _FITTING or kind in enums, where, f"{kind} is no type of a parameter")


def _find(record: Record, path: str, where: Where) -> Leaf:
    leaf = record.leaf(path)
    require(leaf is not None, where, f"{record.name} has no field {path}")
    return leaf
