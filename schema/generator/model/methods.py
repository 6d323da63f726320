"""The operations of both command sets, every parameter resolved to its place in a request or in a received packet."""

from dataclasses import dataclass

from ..errors import require, require_known
from ..source import Source, Table
from .commands import REQUEST_PREFIX, Command
from .enums import Enum
from .events import Answer, Events
from .interfaces import (Member, Parameter, distinct, identifiers, output_parameters, record_parameter,
                         single_parameters)
from .names import Numbers
from .records import Record, Records
from .values import chosen_values, value_type
from .waits import NO_WAIT, WaitClass, parse_wait

# The buffers that results are kept in, by the type of their packet.
_RESULT_BUFFERS = {"VL_DT_SingleMeasResult": "measurement", "VL_DT_SingleMeasResult2": "measurement",
                   "VL_DT_StationaryProbeMeasResult": "measurement", "VL_DT_TiltraResult": "tiltra"}
MODES = ("continuous point", "continuous probe", "stationary point", "stationary probe")
SPEEDS = ("given", "left", "right", "up", "down", "stop")
MIRRORS = ("measurement mode", "stationary time")
_COMPLETION = "CommandCompletedData"


@dataclass(frozen=True)
class Method(Member):
    """An operation and its departures from the common pattern: checks, sends, waits for the answer, hands it out."""

    command: Command | None
    side: str  # sync or async
    wait: str = NO_WAIT
    adds_measure_time: bool = False
    source: str = "none"  # the buffer that the outputs are read from: none, answer, measurement, tiltra
    result_type: int = -1  # the data type that the result must have, where that is looked at
    mode: str = ""  # refused in a measurement mode that is not of this kind
    speed: str = ""  # how it changes the speeds that the head is driven with
    mirror: str = ""  # what the connection remembers of the request
    waits_for_result: bool = False  # the answer does not end the call, the result does
    outputs_when_good: bool = False  # outputs are written for status 0 only
    ends: tuple[str, ...] = ()  # asynchronous ones: the events that end it

    @property
    def sends_only(self) -> bool:
        return self.side == "sync" and self.kind == "method" and self.wait == NO_WAIT


class Methods:
    """The operations of both sides in the order of their identifiers."""

    def __init__(self, source: Source, commands: dict[str, Command], records: Records, enums: dict[str, Enum],
                 events: Events, waits: list[WaitClass]):
        self._records, self._events, self._waits = records, events, waits
        self._answers = {answer.command.name: answer for answer in events.answers}
        self._numbers = {"sync": Numbers("the synchronous member"), "async": Numbers("the asynchronous member")}
        self._found: dict[str, list[Method]] = {"sync": [], "async": []}
        for command in commands.values():
            if {"sync", "ex", "async"} & set(identifiers(command.table, None)):
                self._add(command.table, command, command.method_name)
            for member in command.table.parts("member"):
                self._add(member, command, member.take("name", str))
        for table in source.tables("property"):
            table.allow(("name", "ids", "value", "doc"))
            value = single_parameters(table.take("value", str), False, enums, table.at("value"))
            require(len(value) == 1, table.at("value"), "a property has one value")
            self._put(table, Method(identifiers(table, ("sync",)).get("sync", 0), table.take("name", str), "put",
                                    value, table.take("doc", str, ""), None, "sync"))
        for numbers in self._numbers.values():
            numbers.check_complete()
        self.synchronous, self.asynchronous = (sorted(self._found[side], key=lambda method: method.dispid)
                                               for side in ("sync", "async"))

    def _put(self, table: Table, method: Method) -> None:
        distinct(method.parameters, method.name, table.where)
        self._numbers[method.side].claim(method.dispid, method.name, table.at("ids"))
        self._found[method.side].append(method)

    def _add(self, table: Table, command: Command, name: str) -> None:
        ids = identifiers(table, None if table is command.table else ("sync", "ex", "async"))
        given = self._inputs(table, command)
        common = {"mode": _word(table, "mode", MODES, "mode"), "speed": _word(table, "speed", SPEEDS, "speed"),
                  "mirror": _word(table, "mirror", MIRRORS, "thing that the connection remembers")}
        wait, adds = parse_wait(table.take("wait", str, "standard"), self._waits, table.at("wait"))
        common |= {"wait": wait, "adds_measure_time": adds,
                   "waits_for_result": table.take("waits_for_result", bool, False)}
        if "async" in ids:
            self._put(table, Method(ids["async"], name, "method", given, "", command, "async", **common,
                                    ends=self._ends(table, command)))
        common["outputs_when_good"] = table.take("outputs_when_good", bool, False)
        result, read, source = self._outputs(table, command)
        common["result_type"] = result.packet.value if result and common["outputs_when_good"] else -1
        for key in ("waits_for_result", "outputs_when_good"):
            require(result is not None or not common[key], table.at(key), f"{key}, but there is no result")
        require(wait != NO_WAIT or not read, table.at("wait"), f"{name} waits for nothing and has outputs")
        if "sync" in ids:
            self._put(table, Method(ids["sync"], name, "method", given + read, table.take("doc", str, ""), command,
                                    "sync", source=source if read else "none", **common))
        if "ex" in ids:
            whole = self._whole(table, command, result, given)
            self._put(table, Method(ids["ex"], name + "Ex", "method", whole, table.take("ex_doc", str, ""), command,
                                    "sync", source=source if whole[-1].out else "none", **common))

    def _inputs(self, table: Table, command: Command) -> list[Parameter]:
        if table.get("speed", "given") != "given":
            return []
        return [Parameter(leaf.name, value_type(leaf), False, leaf.offset, 0, False, leaf.quantity)
                for leaf in command.parameters]

    def _outputs(self, table: Table, command: Command) -> tuple[Record | None, list[Parameter], str]:
        """The record of a result that the outputs are read from, the outputs, and the buffer that holds them."""
        if "result" in table:
            name = table.take("result", str)
            require_known(name, self._events.asynchronous, table.at("result"), "event")
            event = self._events.asynchronous[name]
            packet = event.records[0].packet if event.records else None
            require(packet is not None, table.at("result"), f"{name} is made from no result packet")
            require_known(packet.name, _RESULT_BUFFERS, table.at("result"), "packet that calls take results from")
            return event.records[0], output_parameters(event.values), _RESULT_BUFFERS[packet.name]
        if words := table.words("outputs"):
            return None, output_parameters(chosen_values([command.answer], words, table.at("outputs"))), "answer"
        answer: Answer = self._answers[command.name]
        values = answer.async_event.values if answer.async_event and not command.series else []
        return None, output_parameters(values), "answer"

    def _whole(self, table: Table, command: Command, result: Record | None,
               given: list[Parameter]) -> list[Parameter]:
        """The parameters of the member that gives or takes a record instead of single values."""
        name = table.take("ex_parameter", str, "result" if result else "data")
        if result:
            return [*given, record_parameter(name, result, True, 0)]
        if command.record:
            return [record_parameter(name, command.record, False, REQUEST_PREFIX)]
        inside = [field for field in command.answer.fields[1:] if self._records.is_record(field.type)]
        require(len(inside) == 1, table.at("ids"), f"neither request nor answer of {command.method_name} is a record")
        return [record_parameter(name, self._records.get(inside[0].type, table.where), True, inside[0].offset)]

    def _ends(self, table: Table, command: Command) -> tuple[str, ...]:
        event = self._answers[command.name].async_event
        names = table.words("ended_by") or [table.get("result", event.name if event else _COMPLETION)]
        for name in names:
            require_known(name, [_COMPLETION, *self._events.asynchronous], table.at("ended_by"), "event")
        return tuple(names)


def _word(table: Table, key: str, known, what: str) -> str:
    if key not in table:
        return ""
    require_known(table.take(key, str), known, table.at(key), what)
    return table[key]
