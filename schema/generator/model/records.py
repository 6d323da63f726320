"""Records: fields in wire order, every one at a stated offset, and the flat list of what they consist of."""

from dataclasses import dataclass, field

from ..errors import Where, require
from ..source import Source, Table
from .enums import Enum
from .names import Scope

SCALARS = {"int32": 4, "bool32": 4, "double": 8, "byte": 1, "text32": 64, "text128": 256}
KINDS = {"int32": "kInt32", "bool32": "kBool32", "double": "kDouble", "byte": "kByte", "text32": "kText",
         "text128": "kText"}


@dataclass(frozen=True)
class Leaf:
    """A single value: a field of a record with its nested records resolved, or a parameter of a request."""

    name: str
    type: str
    offset: int

    @property
    def kind(self) -> str:
        return KINDS.get(self.type, "kInt32")

    @property
    def size(self) -> int:
        return SCALARS.get(self.type, 4)

    @property
    def units(self) -> int:
        return self.size // 2 if self.kind == "kText" else 0


@dataclass(frozen=True)
class Field:
    offset: int
    name: str
    type: str
    where: Where


@dataclass
class Record:
    name: str
    size: int
    fields: list[Field]
    element: "Record | None"
    doc: str
    leaves: list[Leaf] = field(default_factory=list)

    @property
    def header_size(self) -> int:
        return self.size - (self.element.size if self.element else 0)

    @property
    def own_fields(self) -> list[Field]:
        """The fields before the elements, which is all of them where there are none."""
        return self.fields[:-1] if self.element else self.fields

    def leaf(self, path: str) -> Leaf | None:
        return next((leaf for leaf in self.leaves if leaf.name == path), None)


class Records:
    """All records by name, a record always after those that it consists of."""

    def __init__(self, source: Source, enums: dict[str, Enum], global_names: Scope):
        self.all: dict[str, Record] = {}
        self.aliases: dict[str, Record] = {}
        self._enums = enums
        self._waiting: dict[str, Table] = {}
        for table in source.tables("record"):
            table.allow("name", "doc", "size", "fields")
            name = table.take("name", str)
            global_names.claim_name(name, table.where)
            self._waiting[name] = table
        for name, table in list(self._waiting.items()):
            self.get(name, table.where)
        for table in source.tables("alias"):
            table.allow("name", "record")
            name = table.take("name", str)
            global_names.claim_name(name, table.where)
            self.aliases[name] = self.get(table.take("record", str), table.where)

    def get(self, name: str, where: Where) -> Record:
        if name in self._waiting:
            self._add(self._waiting.pop(name))
        record = self.all.get(name) or self.aliases.get(name)
        require(record is not None, where, f"{name} is no record, or one that contains itself")
        return record

    def is_record(self, name: str) -> bool:
        return name in self.all or name in self._waiting

    def size_of(self, type_name: str, where: Where) -> int:
        if type_name in SCALARS:
            return SCALARS[type_name]
        if type_name in self._enums:
            return 4
        require(type_name[:1].isupper(), where, f"{type_name} is no type")
        return self.get(type_name, where).size

    def _add(self, table: Table) -> None:
        fields = [Field(row[0], row[1], row[2], row.where) for row in table.rows("fields", (int, str, str))]
        record = Record(table.take("name", str), table.take("size", int), fields, None,
                        table.take("doc", str, ""))
        require(bool(fields), table.where, f"{record.name} has no fields")
        names = Scope(f"in {record.name} the field")
        end = 0
        for entry in fields:
            names.claim_name(entry.name, entry.where)
            require(entry.offset == end, entry.where,
                    f"{entry.name} is at {entry.offset}, but what is before it ends at {end}")
            require(record.element is None, entry.where, f"{entry.name} follows the elements")
            if entry.type.endswith("[]"):
                record.element = self.get(entry.type[:-2], entry.where)
                end += record.element.size
                continue
            end += self.size_of(entry.type, entry.where)
            record.leaves += self._flatten(entry)
        # The declared size rounds up to the packing of 4; only a record that ends in a single byte is affected.
        whole = (end + 3) // 4 * 4
        require(record.size == whole, table.where,
                f"{record.name} is said to have {record.size} bytes, but its fields take {whole}")
        self.all[record.name] = record

    def _flatten(self, entry: Field) -> list[Leaf]:
        if not self.is_record(entry.type):
            return [Leaf(entry.name, entry.type, entry.offset)]
        nested = self.get(entry.type, entry.where)
        require(nested.element is None, entry.where, f"{entry.type} has elements and cannot be nested")
        return [Leaf(f"{entry.name}.{leaf.name}", leaf.type, entry.offset + leaf.offset) for leaf in nested.leaves]
