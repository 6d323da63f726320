"""The operations of both command sets, every parameter resolved to its place in a request or in a received packet."""

from dataclasses import dataclass

from ..errors import Where, require
from ..source import Row, Source
from .commands import REQUEST_PREFIX, Command, Packet
from .enums import Enum
from .interfaces import Member, Parameter, check_row, distinct, single_parameters
from .names import Scope
from .records import Record, Records
from .values import ValueLists

WAITS = ("none", "standard", "extended", "tracker init", "measurement additional", "find", "transformation",
         "orient to gravity", "intermediate compensation", "ATR compensation")
# Families and the buffer that their outputs are read from.
FAMILIES = {"plain": "answer", "send-only": "answer", "move": "answer", "continuous-point-start": "answer",
            "continuous-probe-start": "answer", "stationary-point": "measurement", "stationary-probe": "measurement",
            "go-and-measure": "measurement", "set-measurement-mode": "answer", "set-stationary-time": "answer",
            "still-image": "answer", "tiltra": "tiltra", "property": "answer"}
_TESTED_FOR_RESULT_TYPE = ("stationary-point", "go-and-measure")
_INTERFACE_TYPES = {"int32": "long", "bool32": "bool"}


@dataclass(frozen=True)
class Method(Member):
    command: Command | None
    wait: str
    adds_measure_time: bool
    family: str
    source: str  # none, answer, measurement, tiltra
    result_type: int


class Methods:
    def __init__(self, records: Records, enums: dict[str, Enum], commands: dict[str, Command], packets: list[Packet],
                 lists: ValueLists):
        self._records, self._enums, self._commands, self._lists = records, enums, commands, lists
        self._types = {packet.record.name: packet.value.value for packet in packets}

    def load(self, source: Source) -> list[Method]:
        names, methods = Scope("the method"), []
        notes = {row[0]: row for row in source.rows("notes", (str, str))}
        texts = (str,) * 5
        for row in source.rows("methods", (int, *texts), (int, *texts, str)):
            check_row(row, names, len(methods))
            note = notes.pop(row[1], ("", ""))
            methods.append(self._method(row, note[1]))
        for note in notes.values():
            require(False, note.where, f"there is no method {note[0]}")
        return methods

    def load_senders(self, source: Source) -> list[Method]:
        names, senders = Scope("the sender"), []
        for row in source.rows("senders", (int, str), (int, str, str, str, str)):
            check_row(row, names, len(senders))
            senders.append(self._sender(row))
        return senders

    def _sender(self, row: Row) -> Method:
        dispid, name = row[:2]
        command_name, inputs, family = row[2:] if len(row) > 2 else (f"VL_C_{name}", "request", "plain")
        require(family in FAMILIES, row.where, f"{family} is no family")
        require(command_name in self._commands, row.where, f"there is no command {command_name}")
        command = self._commands[command_name]
        given = self._inputs(command, family, inputs, row.where)
        return Method(dispid, name, "method", distinct(given, row), "", command, "none", False, family, "none", -1)

    def _method(self, row: Row, note: str) -> Method:
        dispid, name, command_name, wait, inputs, outputs = row[:6]
        family = row[6] if len(row) > 6 else "plain"
        require(family in FAMILIES, row.where, f"{family} is no family")
        require(not command_name if family == "property" else command_name in self._commands, row.where,
                f"{command_name!r} is no command that {family} can send")
        command = self._commands.get(command_name)
        adds_measure_time = wait.startswith("measure time + ")
        wait = wait.removeprefix("measure time + ")
        require(wait in WAITS, row.where, f"{wait} is no wait class")
        require((wait == "none") == (family in ("send-only", "property")), row.where,
                f"{family} cannot wait for {wait}")
        given = self._inputs(command, family, inputs, row.where)
        read, record = self._outputs(command, family, outputs, row.where)
        source = FAMILIES[family] if read else "none"
        tested = family in _TESTED_FOR_RESULT_TYPE
        require(bool(read) or FAMILIES[family] == "answer", row.where, f"{family} has outputs")
        require(not read or family != "property", row.where, "a property that is put has no outputs")
        kind = "put" if family == "property" else "method"
        return Method(dispid, name, kind, distinct(given + read, row), note, command, wait, adds_measure_time, family,
                      source, self._types[record.name] if tested else -1)

    def _inputs(self, command: Command | None, family: str, text: str, where: Where) -> list[Parameter]:
        wanted = command.parameters if command and family != "move" else []
        if command and text == "request":
            return [Parameter(leaf.name, _INTERFACE_TYPES.get(leaf.type, leaf.type), False, leaf.offset)
                    for leaf in command.parameters]
        name, _, kind = text.partition(": ")
        if command and text:
            require(command.record is not None and command.record.name == kind, where,
                    f"{kind} is not the record of the request")
            return [Parameter(name, kind, False, REQUEST_PREFIX, command.record.size, True)]
        require(not wanted, where, f"nothing says where the parameters of {command.name if command else ''} come from")
        return single_parameters(text, False, self._enums, where)

    def _outputs(self, command: Command | None, family: str, text: str,
                 where: Where) -> tuple[list[Parameter], Record | None]:
        if not text or command is None:
            return single_parameters(text, True, self._enums, where), None
        name, _, kind = text.partition(": ")
        if kind:
            record = self._records.get(kind, where)
            if FAMILIES[family] != "answer":
                self._check_source(command, family, [record], where)
                return [Parameter(name, kind, True, 0, record.size, True)], record
            inside = [field for field in command.answer.fields if field.type == kind]
            require(len(inside) == 1, where, f"{command.answer.name} does not have one {kind}")
            return [Parameter(name, kind, True, inside[0].offset, record.size, True)], record
        values = self._lists.get(name, where)
        self._check_source(command, family, values.records, where)
        return [Parameter(value.name, value.type, True, value.leaf.offset, value.leaf.units)
                for value in values.values], values.records[0]

    def _check_source(self, command: Command, family: str, records: list[Record], where: Where) -> None:
        if FAMILIES[family] == "answer":
            require(command.answer in records, where, f"the outputs are not read from {command.answer.name}")
        else:
            require(len(records) == 1 and records[0].name in self._types, where,
                    "the outputs are not read from one packet")
