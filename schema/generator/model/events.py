"""The events of the two event interfaces, and which of them the answer to a command fires."""

from dataclasses import dataclass

from ..errors import require
from ..source import Source
from .commands import Command
from .names import Scope
from .values import Value, ValueList, ValueLists


@dataclass(frozen=True)
class Event:
    dispid: int
    name: str
    source: ValueList
    values: list[Value]  # those of the source, some under another name


@dataclass(frozen=True)
class Answer:
    command: Command
    async_event: Event | None  # None: completion
    second_event: Event | None
    sync_event: Event | None
    tested: bool
    tested_twice: bool


_BASIC_ANSWER = "BasicCommandRT"


def load_events(source: Source, kind: str, lists: ValueLists) -> dict[str, Event]:
    names = Scope("the event")
    renames = {(row[0], row[1]): row for row in source.rows(f"{kind}_renames", (str, str, str))}
    events = {}
    for row in source.rows(f"{kind}_events", (int, str), (int, str, str)):
        names.claim_name(row[1], row.where)
        require(row[0] == len(events) + 1, row.where, f"the identifier of {row[1]} must be {len(events) + 1}")
        from_list = lists.get(row[-1], row.where)
        require(all(value.type != "variant" for value in from_list.values), row.where, "an event carries no variant")
        values = []
        for value in from_list.values:
            rename = renames.pop((row[1], value.name), None)
            values.append(Value(rename[2], value.type, value.leaf) if rename else value)
        events[row[1]] = Event(row[0], row[1], from_list, values)
    for rename in renames.values():
        require(False, rename.where, f"{rename[0]} has no parameter {rename[1]}")
    return events


def load_answers(source: Source, commands: dict[str, Command], async_events: dict[str, Event],
                 sync_events: dict[str, Event]) -> list[Answer]:
    answers = {command.name: Answer(command, None, None, None, True, False) for command in commands.values()
               if command.answer and command.answer.name == _BASIC_ANSWER}
    for row in source.rows("answers", (str, str, str, str)):
        name, first, second, test = row
        require(name in commands, row.where, f"{name} is no command")
        require(name not in answers, row.where, f"{name} is answered already, or without data")
        require(test in ("tested", "untested", "each"), row.where, f"{test} is not known here")
        command = commands[name]
        for event in (first, second) if second else (first,):
            require(event in async_events, row.where, f"{event} is no asynchronous event")
            require(command.answer in async_events[event].source.records, row.where,
                    f"{event} is not made from the answer to {name}")
        if command.series:
            require(first in sync_events, row.where, f"{first} is no synchronous event")
        answers[name] = Answer(command, async_events[first], async_events.get(second),
                               sync_events[first] if command.series else None, test != "untested", test == "each")
    for command in commands.values():
        require(command.answer is None or command.name in answers, command.where,
                f"nothing says what the answer to {command.name} fires")
    return sorted(answers.values(), key=lambda answer: answer.command.code)
