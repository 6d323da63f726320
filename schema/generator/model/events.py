"""The events of the two event interfaces, and which of them the answer to a command fires."""

from dataclasses import dataclass

from ..errors import require, require_known
from ..source import Source, Table
from .commands import BASIC_ANSWER, Command
from .enums import Enum
from .interfaces import distinct, identifiers, single_parameters
from .names import Numbers
from .records import Record, Records, record_tables
from .values import Value, listed_values

_VERBS = ("Get", "Call")
_TESTS = ("once", "none", "each")


@dataclass(frozen=True)
class Event:
    dispid: int
    name: str
    records: list[Record]  # that it is made from; empty: from no packet
    values: list[Value]
    doc: str  # what it tells


@dataclass(frozen=True)
class Answer:
    command: Command
    async_event: Event | None  # None: completion
    second_event: Event | None
    sync_event: Event | None
    tested: bool
    tested_twice: bool


class Events:
    """Both sides by name, in the order of their identifiers, and what the answers fire in the order of their codes."""

    def __init__(self, source: Source, commands: dict[str, Command], records: Records, enums: dict[str, Enum]):
        self._numbers = {"async": Numbers("the asynchronous event"), "sync": Numbers("the synchronous event")}
        self._found: dict[str, list[Event]] = {"async": [], "sync": []}
        for table in record_tables(source):
            for part in table.parts("event"):
                self._add_of_packet(part, records.get(table.take("name", str), table.where), records)
        for table in source.tables("event"):
            table.allow(("name", "ids", "arguments", "doc"))
            given = single_parameters(table.take("arguments", str), False, enums, table.at("arguments"))
            self._add(table, table.take("name", str), identifiers(table, ("async", "sync")), [],
                      [Value(each.name, each.type, None) for each in given], table.take("doc", str, ""))
        self.answers = [self._answer(command) for command in commands.values() if command.answer]
        for numbers in self._numbers.values():
            numbers.check_complete()
        self.asynchronous, self.synchronous = ({event.name: event for event in sorted(found, key=lambda e: e.dispid)}
                                               for found in self._found.values())

    def _add_of_packet(self, table: Table, record: Record, records: Records) -> None:
        table.allow(("name", "ids", "values", "also_from", "doc"))
        sources = [record] + [records.get(name, table.at("also_from")) for name in table.words("also_from") or []]
        self._add(table, table.take("name", str), identifiers(table, ("async", "sync")), sources,
                  listed_values(table, sources), table.take("doc", str, ""))

    def _add(self, table: Table, name: str, ids: dict[str, int], records: list[Record],
             values: list[Value], doc: str) -> list[Event]:
        require(all(value.type != "variant" for value in values), table.where, f"{name}: an event carries no variant")
        made = []
        for side, dispid in ids.items():
            self._numbers[side].claim(dispid, name, table.at("ids"))
            renamed = table.take("sync_names", dict, {}) if side == "sync" else {}
            for old in renamed:
                require_known(old, [value.name for value in values], table.at("sync_names"), f"value of {name}")
            own = distinct([Value(renamed.get(value.name, value.name), value.type, value.leaf) for value in values],
                           name, table.where)
            made.append(Event(dispid, name, records, own, doc))
            self._found[side].append(made[-1])
        return made

    def _answer(self, command: Command) -> Answer:
        table = command.table
        if command.answer.name == BASIC_ANSWER:
            for key in ("event", "values", "second_event", "status_test"):
                require(key not in table, table.at(key), f"an answer without data has no {key}")
            return Answer(command, None, None, None, True, False)
        ids = identifiers(table, None)
        require("event" in ids, table.at("ids"), f"nothing says what the answer to {command.method_name} fires")
        require(("sync_event" in ids) == command.series, table.at("ids"), "a series has a sync_event, and nothing else")
        values = listed_values(table, [command.answer], command.series)
        sides = {"async": ids["event"]} | ({"sync": ids["sync_event"]} if command.series else {})
        doc = f'{"One item of the" if command.series else "The"} answer to "{command.text}" ({command.code}).'
        events = self._add(table, table.take("event", str, event_name(command)), sides, [command.answer], values, doc)
        second = None
        require(("second_event" in table) == ("second_event" in ids), table.at("second_event"),
                "a second event has a name and an identifier")
        if "second_event" in table:
            second, = self._add(table, table.take("second_event", str), {"async": ids["second_event"]},
                                [command.answer], values, doc)
        test = table.take("status_test", str, "once")
        require_known(test, _TESTS, table.at("status_test"), "test of the status")
        return Answer(command, events[0], second, events[1] if command.series else None, test != "none", test == "each")


def event_name(command: Command) -> str:
    """UnitsData of GetUnits."""
    name = command.method_name
    return next((name.removeprefix(verb) for verb in _VERBS if name.startswith(verb)), name) + "Data"
