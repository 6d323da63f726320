"""The parts of the Python package that are facts of the schema: enumerations, records, tables and stubs."""

from ..model.enums import Enum
from ..model.events import Event
from ..model.interfaces import Member
from ..model.methods import Method
from ..model.quantities import unit_of
from ..model.records import Field, Record
from ..model.schema import Schema
from . import python_results
from .members import units_note
from .python_values import (TYPES, awaited, awaiting_doc, declared, docstring, inputs_of, outputs_of, python_type,
                            returned, sending_doc, waiting_doc)

_DEFAULTS = {"int": "0", "bool": "False", "float": "0.0", "str": '""', "bytes": 'b""'}
_TILTRA_EVENT = "TiltraMeasurementData"
_NUMPY = {"int32": "<i4", "bool32": "<i4", "double": "<f8", "byte": "u1"}


def write_enumerations(schema: Schema) -> str:
    parts = ['"""The enumerations of the interfaces. A value that none of them has stays a plain int."""\n\n'
             "from enum import IntEnum as _IntEnum\n\n"
             "__all__ = [\n" + "".join(f'    "{name}",\n' for name in schema.enums) + "]"]
    for enum in schema.enums.values():
        rows = [f"{value.name} = {value.value}" for value in enum.values]
        parts.append(_class(f"{enum.name}(_IntEnum)", enum.doc, rows))
    return "\n\n\n".join(parts) + "\n"


def write_constants(schema: Schema) -> str:
    rows = [f"{value.name}: {enum.name}" for enum in schema.enums.values() for value in enum.values]
    return "from .enumerations import *\n\n\n" + _class("_Constants", "", rows) + "\n\n\nconstants: _Constants\n"


def write_records(schema: Schema) -> str:
    parts = ['"""The records that members of the interfaces take and give whole."""\n\n'
             "from dataclasses import dataclass, field\n\nfrom .enumerations import *"]
    taken = {parameter.type for method in schema.sync_methods for parameter in method.parameters}
    for record in reversed(list(schema.records.all.values())):
        if record.name in taken:
            taken.update(entry.type for entry in record.fields)
    for record in schema.records.all.values():
        if record.name in taken:
            rows = [f"{entry.name}: {_field(schema, entry)}" for entry in record.own_fields]
            parts.append("@dataclass(slots=True)\n" + _class(record.name, record.doc, rows))
    return "\n\n\n".join(parts) + "\n"


def write_tables(schema: Schema) -> str:
    answers = {answer.command.name: answer for answer in schema.answers}
    calls = "".join(f"    {method.name!r}: {_call(schema, method, answers)!r},\n" for method in schema.async_methods)
    commands = "".join(f"    {method.name!r}: {method.command.code},\n"
                       for method in schema.sync_methods if method.command)
    docs = "".join(f"    {name!r}: {_docs(schema, name, members)!r},\n"
                   for name, members in _interfaces(schema).items())
    blocks = "".join(f"    {packet.value.value}: {_block(packet.record)!r},\n"
                     for packet in schema.packets if packet.record.element)
    programs = "".join(f"    {each.name!r}: {f'{each.program}.1'!r},\n" for each in schema.library.classes)
    return ('"""Facts that the type library does not tell."""\n\n'
            "# Of an asynchronous call: its command; the events that end it; which of their values says how many\n"
            "# items there are, where each comes with an event of its own; the kind of result that comes beside the\n"
            "# answer; the seconds in which it should end, and whether the time of a stationary measurement is added;\n"
            "# what is said when it does not.\n"
            f"CALLS = {{\n{calls}}}\n\n"
            "# The commands that synchronous methods send.\n"
            f"COMMANDS = {{\n{commands}}}\n\n"
            "# What members do, what they take and return, and the units of that.\n"
            f"DOCS = {{\n{docs}}}\n\n"
            "# Of a continuous packet, by its type: bytes before the first element, their number, size, fields.\n"
            f"BLOCKS = {{\n{blocks}}}\n\n"
            "# The program identifiers of the classes, with their version.\n"
            f"PROGRAMS = {{\n{programs}}}\n\n" + python_results.tables(schema) +
            f"VERSION = {'.'.join(map(str, schema.library.version[:3]))!r}\n")


def _call(schema: Schema, method: Method, answers: dict) -> tuple:
    command = method.command
    result = "measurement" if method.waits_for_result else "tiltra" if method.ends == (_TILTRA_EVENT,) else None
    milliseconds = {wait.name: wait.ordinary for wait in schema.waits}
    seconds = milliseconds.get(method.wait, milliseconds["standard"]) / 1000
    no_answer = next(row.text for row in schema.texts if row.name == "NoAnswer")
    return (command.code, method.ends, _total(method, answers), result, seconds, method.adds_measure_time,
            f"[{command.code}]  {command.text}:  {no_answer}!")


def _interfaces(schema: Schema) -> dict[str, list]:
    return {"ILTConnect2": schema.connect_members, "ILTCommandSync2": schema.sync_methods,
            "ILTCommandAsync2": schema.async_methods, "AwaitableCommands": schema.async_methods}


_DOCS = {"ILTCommandAsync2": sending_doc, "AwaitableCommands": awaiting_doc}


def _docs(schema: Schema, interface: str, members: list) -> dict[str, str]:
    docs = {member.name: _DOCS.get(interface, waiting_doc)(schema, member) for member in members}
    return {name: doc for name, doc in docs.items() if doc}


def write_stubs(schema: Schema) -> str:
    parts = ["from typing import Any, TypeAlias\n\nfrom . import records, results\nfrom ._object import Object\n"
             "from .enumerations import *\n\nBuffer: TypeAlias = bytes | bytearray | memoryview"]
    for name, members in _interfaces(schema).items():
        is_awaited = name == "AwaitableCommands"
        rows = [_awaitable(schema, each) if is_awaited else _member(schema, name, each) for each in members]
        parts.append(_class(name if is_awaited else f"{name}(Object)", "", rows))
    for name, events in (("SyncEvents", schema.sync_events), ("AsyncEvents", schema.async_events)):
        rows = [_handler(schema, event) for event in events.values()]
        parts.append(_class(name, "", rows))
    return "\n\n\n".join(parts) + "\n"


def _class(head: str, doc: str, rows: list[str]) -> str:
    doc_rows = [f'"""{doc}"""', ""] if doc else []
    return f"class {head}:\n" + "\n".join(f"    {row}".rstrip() for row in doc_rows + rows)


def _field(schema: Schema, entry: Field) -> str:
    kind = TYPES.get(entry.type, entry.type)
    if kind in _DEFAULTS:
        unit = unit_of(entry.quantity, entry.name)
        return f"{kind} = {_DEFAULTS[kind]}" + (f"  # {unit}" if unit else "")
    if kind in schema.enums:
        return f"{kind} = {_zero(schema.enums[kind])}"
    return f"{kind} = field(default_factory={kind})"


def _zero(enum: Enum) -> str:
    name = next((value.name for value in enum.values if value.value == 0), None)
    return f"{enum.name}.{name}" if name else "0  # type: ignore[assignment]"


def _total(method: Method, answers: dict) -> int | None:
    if not method.command.series:
        return None
    total = method.command.answer.content[0]
    return [value.leaf for value in answers[method.command.name].async_event.values].index(total)


def _block(record: Record) -> tuple:
    count = next(entry.offset for entry in record.fields if entry.name.startswith("lNumber"))
    fields = [(entry.name, _NUMPY.get(entry.type, "<i4"), entry.offset) for entry in record.element.fields]
    return record.header_size, count, record.element.size, fields


def _units(values: list) -> str:
    note = units_note(values)
    return f"Units: {note}." if note else ""


def _member(schema: Schema, interface: str, member: Member) -> str:
    if member.kind == "put":
        return f"{member.name}: {python_type(schema, member.parameters[0].type)}"
    if member.kind == "get":
        output, = outputs_of(member)
        result = f"{member.name}2" if output.type == "unknown" else python_type(schema, output.type)
        return f"@property\n    def {member.name}(self) -> {result}: ..."
    head = f"def {member.name}(self{declared(schema, inputs_of(member))}) -> {returned(schema, member)}:"
    return _function(head, _DOCS.get(interface, waiting_doc)(schema, member))


def _handler(schema: Schema, event: Event) -> str:
    return _function(f"def On{event.name}(self{declared(schema, event.values)}) -> None:", _units(event.values))


def _awaitable(schema: Schema, method: Method) -> str:
    head = f"async def {method.name}(self{declared(schema, method.parameters)}) -> {awaited(schema, method)}:"
    return _function(head, awaiting_doc(schema, method))


def _function(head: str, doc: str) -> str:
    return f"{head}\n{docstring(doc, ' ' * 8)}" if doc else f"{head} ..."
