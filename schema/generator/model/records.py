"""Records: fields in wire order, every one at a stated offset, and the flat list of what they consist of."""

from dataclasses import dataclass, field

from ..errors import Where, require
from ..source import Row, Source, Table
from .enums import Enum, EnumValue
from .names import Scope, public_name
from .quantities import QUANTITIES, wire_type

SCALARS = {"int32": 4, "bool32": 4, "double": 8, "byte": 1, "text32": 64, "text128": 256}
KINDS = {"int32": "kInt32", "bool32": "kBool32", "double": "kDouble", "byte": "kByte", "text32": "kText",
         "text128": "kText"}
# The fields that hold what packets have in common, which is not handed out as a part of their own.
_HEADS = ("packetHeader", "packetInfo")
FIELD_SHAPES = ((int, str, str), (int, str, str, str))


@dataclass(frozen=True)
class Leaf:
    """A single value: a field of a record with its nested records resolved, or a parameter of a request."""

    name: str
    type: str
    offset: int
    quantity: str = ""  # empty: a pure number, a text, an enumeration
    public: str = ""  # the name under which the value is handed out

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
    quantity: str = ""
    public: str = ""

    @staticmethod
    def of(row: Row) -> "Field":
        quantity = row[2] if row[2] in QUANTITIES else ""
        return Field(row[0], row[1], wire_type(row[2]), row.where, quantity,
                     row[3] if len(row) > 3 else public_name(row[1]))


@dataclass
class Record:
    name: str
    size: int
    fields: list[Field]
    element: "Record | None"
    doc: str
    leaves: list[Leaf] = field(default_factory=list)
    packet: EnumValue | None = None  # the type of the packets that are laid out so

    @property
    def header_size(self) -> int:
        return self.size - (self.element.size if self.element else 0)

    @property
    def own_fields(self) -> list[Field]:
        """The fields before the elements, which is all of them where there are none."""
        return self.fields[:-1] if self.element else self.fields

    @property
    def content(self) -> list[Leaf]:
        """The values behind what packets have in common."""
        return [leaf for leaf in self.leaves if leaf.name.split(".")[0] not in _HEADS]

    def leaf(self, path: str) -> Leaf | None:
        return next((leaf for leaf in self.leaves if leaf.name == path), None)


@dataclass(frozen=True)
class Layout:
    """A record before it is resolved. Without a size, that of its only nested record decides."""

    name: str
    where: Where
    rows: list[Row]
    size: int | None
    size_at: Where
    doc: str = ""
    packet: EnumValue | None = None


class Records:
    """All records by name, a record always after those that it consists of."""

    def __init__(self, layouts: list[Layout], enums: dict[str, Enum], global_names: Scope):
        self.all: dict[str, Record] = {}
        self.aliases: dict[str, Record] = {}
        self._enums, self._names = enums, global_names
        self._waiting: dict[str, Layout] = {}
        for layout in layouts:
            global_names.claim_name(layout.name, layout.where)
            self._waiting[layout.name] = layout
        for layout in layouts:
            self.get(layout.name, layout.where)

    def add_alias(self, name: str, record: str, where: Where) -> None:
        self._names.claim_name(name, where)
        self.aliases[name] = self.get(record, where)

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
        require(type_name[:1].isupper(), where, f"{type_name} is no type; there are: "
                f"{', '.join([*SCALARS, *QUANTITIES])}, enumerations and records")
        return self.get(type_name, where).size

    def _add(self, layout: Layout) -> None:
        fields = [Field.of(row) for row in layout.rows]
        record = Record(layout.name, 0, fields, None, layout.doc, packet=layout.packet)
        require(bool(fields), layout.where, f"{record.name} has no fields")
        names = Scope(f"in {record.name} the field")
        end = 0
        for entry in fields:
            names.claim_name(entry.name, entry.where)
            check_place(entry, end)
            require(record.element is None, entry.where, f"{entry.name} follows the elements")
            if entry.type.endswith("[]"):
                record.element = self.get(entry.type[:-2], entry.where)
                end += record.element.size
                continue
            end += self.size_of(entry.type, entry.where)
            record.leaves += self._flatten(entry)
        # The declared size rounds up to the packing of 4; only a record that ends in a single byte is affected.
        record.size = (end + 3) // 4 * 4
        require(layout.size is not None or self.is_record(fields[-1].type), layout.where,
                f"the size of {record.name} must be stated")
        require(layout.size in (None, record.size), layout.size_at,
                f"{record.name} is said to have {layout.size} bytes, but its fields take {record.size}")
        self.all[record.name] = record

    def _flatten(self, entry: Field) -> list[Leaf]:
        if not self.is_record(entry.type):
            return [Leaf(entry.name, entry.type, entry.offset, entry.quantity, entry.public)]
        nested = self.get(entry.type, entry.where)
        require(nested.element is None, entry.where, f"{entry.type} has elements and cannot be nested")
        return [Leaf(f"{entry.name}.{leaf.name}", leaf.type, entry.offset + leaf.offset, leaf.quantity, leaf.public)
                for leaf in nested.leaves]


def check_place(entry: Field, end: int) -> None:
    require(entry.offset == end, entry.where,
            f"{entry.name} is at {entry.offset}, but what is before it ends at {end}")


def record_tables(source: Source) -> list[Table]:
    for table in source.tables("record"):
        table.allow(("name", "doc", "size", "fields", "packet"), ("event",))
    return source.tables("record")


def load_layouts(source: Source, types: Enum) -> list[Layout]:
    """The records that stand for themselves. What a packet of a data type is laid out as names that type."""
    layouts, seen = [], Scope("the data type")
    values = {value.name: value for value in types.values}
    for table in record_tables(source):
        packet = None
        if "packet" in table:
            name = table.take("packet", str)
            require(name in values, table.at("packet"), f"{name} is no data type; there are: {', '.join(values)}")
            seen.claim(name, table.at("packet"))
            packet = values[name]
        layouts.append(Layout(table.take("name", str), table.at("name"), table.rows("fields", *FIELD_SHAPES),
                              table.take("size", int), table.at("size"), table.take("doc", str, ""), packet))
    return layouts
