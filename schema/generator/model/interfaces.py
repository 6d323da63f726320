"""The members of the interfaces, with every parameter resolved to its place in a packet."""

from dataclasses import dataclass

from ..errors import Where, require
from ..source import Row, Source
from .commands import REQUEST_PREFIX, Command, Packet
from .enums import Enum
from .names import Scope
from .records import Record, Records
from .values import ValueList, check_type

WAITS = ("none", "standard", "extended", "tracker init", "measurement additional", "find", "transformation",
         "orient to gravity", "intermediate compensation", "ATR compensation")
# Families and the buffer that their outputs are read from.
FAMILIES = {"plain": "answer", "send-only": "answer", "move": "answer", "continuous-point-start": "answer",
            "continuous-probe-start": "answer", "stationary-point": "measurement", "stationary-probe": "measurement",
            "go-and-measure": "measurement", "set-measurement-mode": "answer", "set-stationary-time": "answer",
            "still-image": "answer", "tiltra": "tiltra", "property": "answer"}
_TESTED_FOR_RESULT_TYPE = ("stationary-point", "go-and-measure")
_INTERFACE_TYPES = {"int32": "long", "bool32": "bool"}
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
class Method(Member):
    command: Command | None
    wait: str
    adds_measure_time: bool
    family: str
    source: str  # none, answer, measurement, tiltra
    result_type: int


class Interfaces:
    def __init__(self, records: Records, enums: dict[str, Enum], commands: dict[str, Command], packets: list[Packet],
                 lists: dict[str, ValueList]):
        self._records, self._enums, self._commands, self._lists = records, enums, commands, lists
        self._types = {packet.record.name: packet.value.value for packet in packets}

    def load_members(self, source: Source) -> list[Member]:
        names, members = Scope("the member"), []
        for row in source.rows("members", (int, str, str, str, str, str)):
            dispid, name, kind, inputs, outputs, doc = row
            _check_row(row, names, len(members))
            require(kind in ("get", "put", "method"), row.where, f"{kind} is not known here")
            parameters = self._singles(inputs, False, row.where)
            if outputs in self._lists:
                parameters += [Parameter(value.name, value.type, True) for value in self._lists[outputs].values]
            else:
                parameters += self._singles(outputs, True, row.where)
            require(kind == "method" or [parameter.out for parameter in parameters] == [kind == "get"], row.where,
                    f"a property has one value, which a {kind} hands {'out' if kind == 'get' else 'in'}")
            members.append(Member(dispid, name, kind, _distinct(parameters, row), doc))
        return members

    def load_methods(self, source: Source) -> list[Method]:
        names, methods = Scope("the method"), []
        notes = {row[0]: row for row in source.rows("notes", (str, str))}
        texts = (str,) * 5
        for row in source.rows("methods", (int, *texts), (int, *texts, str)):
            _check_row(row, names, len(methods))
            note = notes.pop(row[1], ("", ""))
            methods.append(self._method(row, note[1]))
        for note in notes.values():
            require(False, note.where, f"there is no method {note[0]}")
        return methods

    def _method(self, row: Row, note: str) -> Method:
        dispid, name, command_name, wait, inputs, outputs = row[:6]
        family = row[6] if len(row) > 6 else "plain"
        require(family in FAMILIES, row.where, f"{family} is no family")
        require(command_name in self._commands or (not command_name and family == "property"), row.where,
                f"{command_name!r} is no command")
        command = self._commands.get(command_name)
        adds_measure_time = wait.startswith("measure time + ")
        wait = wait.removeprefix("measure time + ")
        require(wait in WAITS, row.where, f"{wait} is no wait class")
        require((wait == "none") == (family in ("send-only", "property")), row.where, f"{family} cannot wait for {wait}")
        given = self._inputs(command, family, inputs, row.where)
        read, record = self._outputs(command, family, outputs, row.where)
        source = FAMILIES[family] if read else "none"
        tested = family in _TESTED_FOR_RESULT_TYPE
        kind = "put" if family == "property" else "method"
        return Method(dispid, name, kind, _distinct(given + read, row), note, command, wait, adds_measure_time, family,
                      source, self._types[record.name] if tested else -1)

    def _inputs(self, command: Command | None, family: str, text: str, where: Where) -> list[Parameter]:
        wanted = command.parameters if command and family != "move" else []
        if text == "request":
            return [Parameter(leaf.name, _INTERFACE_TYPES.get(leaf.type, leaf.type), False, leaf.offset)
                    for leaf in command.parameters]
        name, _, kind = text.partition(": ")
        if command and text:
            require(command.record is not None and command.record.name == kind, where,
                    f"{kind} is not the record of the request")
            return [Parameter(name, kind, False, REQUEST_PREFIX, command.record.size, True)]
        require(not wanted, where, f"nothing says where the parameters of {command.name if command else ''} come from")
        return self._singles(text, False, where)

    def _outputs(self, command: Command | None, family: str, text: str,
                 where: Where) -> tuple[list[Parameter], Record | None]:
        if not text:
            return [], None
        name, _, kind = text.partition(": ")
        if kind:
            record = self._records.get(kind, where)
            if FAMILIES[family] != "answer":
                self._check_source(command, family, [record], where)
                return [Parameter(name, kind, True, 0, record.size, True)], record
            inside = [field for field in command.answer.fields if field.type == kind]
            require(len(inside) == 1, where, f"{command.answer.name} does not have one {kind}")
            return [Parameter(name, kind, True, inside[0].offset, record.size, True)], record
        require(name in self._lists, where, f"there is no list of values {name}")
        values = self._lists[name]
        self._check_source(command, family, values.records, where)
        return [Parameter(value.name, value.type, True, value.leaf.offset, value.leaf.units)
                for value in values.values], values.records[0]

    def _check_source(self, command: Command, family: str, records: list[Record], where: Where) -> None:
        if FAMILIES[family] == "answer":
            require(command.answer in records, where, f"the outputs are not read from {command.answer.name}")
        else:
            require(len(records) == 1 and records[0].name in self._types, where, "the outputs are not read from one packet")

    def _singles(self, text: str, out: bool, where: Where) -> list[Parameter]:
        parameters = []
        for entry in filter(None, text.split(", ")):
            name, _, kind = entry.partition(": ")
            if kind not in _OBJECT_TYPES:
                check_type(kind, self._enums, where)
            parameters.append(Parameter(name, kind, out))
        return parameters


def _check_row(row: Row, names: Scope, before: int) -> None:
    names.claim_name(row[1], row.where)
    require(row[0] == before + 1, row.where, f"the identifier of {row[1]} must be {before + 1}")


def _distinct(parameters: list[Parameter], row: Row) -> list[Parameter]:
    names = Scope(f"in {row[1]} the parameter")
    for parameter in parameters:
        names.claim_name(parameter.name, row.where)
    return parameters
