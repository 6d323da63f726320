"""The members of interfaces and their parameters, and the connection's interface."""

from dataclasses import dataclass

from ..errors import Where, require, require_known
from ..source import Source, Table
from .enums import Enum
from .names import Numbers, Scope
from .records import Record, Records
from .values import Value, check_type, listed_values

_OBJECT_TYPES = ("bytes", "unknown")
_IDS = ("sync", "ex", "async", "event", "sync_event", "second_event")


@dataclass(frozen=True)
class Parameter:
    name: str
    type: str
    out: bool
    offset: int = 0
    size: int = 0  # bytes of a record, units of a text
    is_record: bool = False
    quantity: str = ""


@dataclass(frozen=True)
class Member:
    dispid: int
    name: str
    kind: str  # get, put or method
    parameters: list[Parameter]
    doc: str

    @property
    def slot_name(self) -> str:
        return self.name if self.kind == "method" else f"{self.kind}_{self.name}"


@dataclass(frozen=True)
class Reader(Member):
    """A member that picks its outputs out of a packet: each at its offset in the record or element."""


def load_members(source: Source, enums: dict[str, Enum], records: Records) -> list[Member]:
    numbers, members = Numbers("the member"), []
    for row in source.rows("members", (int, str, str, str, str, str)):
        dispid, name, kind, inputs, outputs, doc = row
        numbers.claim(dispid, name, row.where)
        require_known(kind, ("get", "put", "method"), row.where, "kind of member")
        parameters = single_parameters(inputs, False, enums, row.where) + \
            single_parameters(outputs, True, enums, row.where)
        require(kind == "method" or [parameter.out for parameter in parameters] == [kind == "get"], row.where,
                f"a property has one value, which a {kind} hands {'out' if kind == 'get' else 'in'}")
        members.append(Member(dispid, name, kind, distinct(parameters, name, row.where), doc))
    elements = {record.element.name for record in records.all.values() if record.element}
    for table in source.tables("reader"):
        members.append(_reader(table, records, elements, enums))
        numbers.claim(members[-1].dispid, members[-1].name, table.where)
    numbers.check_complete()
    return sorted(members, key=lambda member: member.dispid)


def _reader(table: Table, records: Records, elements: set[str], enums: dict[str, Enum]) -> Reader:
    table.allow(("id", "name", "records", "values", "doc"))
    read = [records.get(name, table.at("records")) for name in table.words("records") or []]
    require(bool(read), table.where, "records is missing")
    name = table.take("name", str)
    inputs = "data: bytes, index: long" if read[0].name in elements else "data: bytes"
    parameters = single_parameters(inputs, False, enums, table.where) + \
        output_parameters(listed_values(table, read))
    return Reader(table.take("id", int), name, "method", distinct(parameters, name, table.where),
                  table.take("doc", str, ""))


def output_parameters(values: list[Value]) -> list[Parameter]:
    return [Parameter(value.name, value.type, True, value.leaf.offset, value.leaf.units, False, value.quantity)
            for value in values]


def record_parameter(name: str, record: Record, out: bool, offset: int) -> Parameter:
    return Parameter(name, record.name, out, offset, record.size, True)


def single_parameters(text: str, out: bool, enums: dict[str, Enum], where: Where) -> list[Parameter]:
    """Parameters that are written one by one: "name: type, name: type"."""
    parameters = []
    for entry in filter(None, text.split(", ")):
        name, _, kind = entry.partition(": ")
        check_type(kind, enums, where, _OBJECT_TYPES)
        parameters.append(Parameter(name, kind, out))
    return parameters


def identifiers(table: Table, wanted: tuple[str, ...] | None) -> dict[str, int]:
    """The identifiers of a block: of its members and of its events."""
    ids = table.take("ids", dict, {})
    for key, number in ids.items():
        require_known(key, wanted or _IDS, table.at("ids"), "kind of identifier")
        require(type(number) is int, table.at("ids"), f"{number} is no number")
    return ids


# Calls by name and events keep their arguments in an array of that many.
_MOST_PARAMETERS = 64


def distinct(parameters: list[Parameter], name: str, where: Where) -> list[Parameter]:
    require(len(parameters) <= _MOST_PARAMETERS, where, f"{name} has more than {_MOST_PARAMETERS} parameters")
    names = Scope(f"in {name} the parameter")
    for parameter in parameters:
        names.claim_name(parameter.name, where)
    return parameters
