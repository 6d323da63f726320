"""The members of interfaces and their parameters, and the connection's interface."""

from dataclasses import dataclass

from ..errors import Where, require
from ..source import Row, Source
from .enums import Enum
from .names import Scope
from .values import ValueLists, check_type

_OBJECT_TYPES = ("bytes", "unknown")


@dataclass(frozen=True)
class Parameter:
    name: str
    type: str
    out: bool
    offset: int = 0
    size: int = 0  # bytes of a record, units of a text
    is_record: bool = False


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


def load_members(source: Source, enums: dict[str, Enum], lists: ValueLists) -> list[Member]:
    names, members = Scope("the member"), []
    for row in source.rows("members", (int, str, str, str, str, str)):
        dispid, name, kind, inputs, outputs, doc = row
        check_row(row, names, len(members))
        require(kind in ("get", "put", "method"), row.where, f"{kind} is not known here")
        parameters = single_parameters(inputs, False, enums, row.where)
        reads = outputs != "" and ": " not in outputs
        if reads:
            parameters += [Parameter(value.name, value.type, True, value.leaf.offset)
                           for value in lists.get(outputs, row.where).values]
        else:
            parameters += single_parameters(outputs, True, enums, row.where)
        require(kind == "method" or [parameter.out for parameter in parameters] == [kind == "get"], row.where,
                f"a property has one value, which a {kind} hands {'out' if kind == 'get' else 'in'}")
        members.append((Reader if reads else Member)(dispid, name, kind, distinct(parameters, row), doc))
    return members


def single_parameters(text: str, out: bool, enums: dict[str, Enum], where: Where) -> list[Parameter]:
    """Parameters that are told one by one: "name: type, name: type"."""
    parameters = []
    for entry in filter(None, text.split(", ")):
        name, _, kind = entry.partition(": ")
        if kind not in _OBJECT_TYPES:
            check_type(kind, enums, where)
        parameters.append(Parameter(name, kind, out))
    return parameters


def check_row(row: Row, names: Scope, before: int) -> None:
    names.claim_name(row[1], row.where)
    require(row[0] == before + 1, row.where, f"the identifier of {row[1]} must be {before + 1}")


# Calls by name keep their arguments in an array of that many.
_MOST_PARAMETERS = 64


def distinct(parameters: list[Parameter], row: Row) -> list[Parameter]:
    require(len(parameters) <= _MOST_PARAMETERS, row.where, f"{row[1]} has more than {_MOST_PARAMETERS} parameters")
    names = Scope(f"in {row[1]} the parameter")
    for parameter in parameters:
        names.claim_name(parameter.name, row.where)
    return parameters
