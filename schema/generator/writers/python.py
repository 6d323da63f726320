"""The parts of the Python package that are facts of the schema: enumerations, records, tables and stubs."""

from ..model.enums import Enum
from ..model.events import Event
from ..model.interfaces import Member, Parameter
from ..model.methods import Method
from ..model.quantities import unit_of
from ..model.records import Field, Record
from ..model.schema import Schema
from .members import units_note

_TYPES = {"long": "int", "int32": "int", "bool32": "bool", "double": "float", "bool": "bool", "text": "str",
          "text32": "str", "text128": "str", "byte": "bytes", "variant": "bytes", "bytes": "bytes"}
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
    docs = "".join(f"    {name!r}: {_docs(members)!r},\n" for name, members in _interfaces(schema).items())
    blocks = "".join(f"    {packet.value.value}: {_block(packet.record)!r},\n"
                     for packet in schema.packets if packet.record.element)
    programs = "".join(f"    {each.name!r}: {f'{each.program}.1'!r},\n" for each in schema.library.classes)
    return ('"""Facts that the type library does not tell."""\n\n'
            "# Of an asynchronous call: its command; the events that end it; which of their values says how many\n"
            "# items there are, where each comes with an event of its own; the kind of result that comes beside the\n"
            "# answer; the seconds in which it should end, and whether the time of a stationary measurement is added;\n"
            "# what is said when it does not.\n"
            f"CALLS = {{\n{calls}}}\n\n"
            "# What members do, and the units of their values.\n"
            f"DOCS = {{\n{docs}}}\n\n"
            "# Of a continuous packet, by its type: bytes before the first element, their number, size, fields.\n"
            f"BLOCKS = {{\n{blocks}}}\n\n"
            "# The program identifiers of the classes, with their version.\n"
            f"PROGRAMS = {{\n{programs}}}\n")


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
            "ILTCommandAsync2": schema.async_methods}


def _docs(members: list) -> dict[str, str]:
    docs = {member.name: " ".join(filter(None, [member.doc, _units(member.parameters)])) for member in members}
    return {name: doc for name, doc in docs.items() if doc}


def write_stubs(schema: Schema) -> str:
    parts = ["from typing import Any, TypeAlias\n\nfrom . import records\nfrom ._object import Object\n"
             "from .enumerations import *\n\nBuffer: TypeAlias = bytes | bytearray | memoryview"]
    parts += [_class(f"{name}(Object)", "", [_member(schema, member) for member in members])
              for name, members in _interfaces(schema).items()]
    parts.append(_class("AwaitableCommands", "", [_awaitable(schema, each) for each in schema.async_methods]))
    for name, events in (("SyncEvents", schema.sync_events), ("AsyncEvents", schema.async_events)):
        rows = [_handler(schema, event) for event in events.values()]
        parts.append(_class(name, "", rows))
    return "\n\n\n".join(parts) + "\n"


def _class(head: str, doc: str, rows: list[str]) -> str:
    doc_rows = [f'"""{doc}"""', ""] if doc else []
    return f"class {head}:\n" + "\n".join(f"    {row}".rstrip() for row in doc_rows + rows)


def _field(schema: Schema, entry: Field) -> str:
    kind = _TYPES.get(entry.type, entry.type)
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


def _python_type(schema: Schema, kind: str) -> str:
    known = _TYPES.get(kind) or (kind if kind in schema.enums else None)
    return known or ("Any" if kind == "unknown" else f"records.{kind}")


def _inputs(schema: Schema, parameters: list) -> str:
    def kind(parameter) -> str:
        return "Buffer" if parameter.type in ("bytes", "variant") else _python_type(schema, parameter.type)
    return "".join(f", {each.name}: {kind(each)}" for each in parameters if not getattr(each, "out", False))


def _result(schema: Schema, values: list) -> str:
    kinds = [_python_type(schema, value.type) for value in values]
    return "None" if not kinds else kinds[0] if len(kinds) == 1 else f"tuple[{', '.join(kinds)}]"


def _member(schema: Schema, member: Member) -> str:
    outputs: list[Parameter] = [parameter for parameter in member.parameters if parameter.out]
    if member.kind == "put":
        return f"{member.name}: {_python_type(schema, member.parameters[0].type)}"
    if member.kind == "get":
        result = f"{member.name}2" if outputs[0].type == "unknown" else _result(schema, outputs)
        return f"@property\n    def {member.name}(self) -> {result}: ..."
    doc = "\n        ".join(filter(None, [member.doc, "Returns " + ", ".join(out.name for out in outputs) + "."
                                          if outputs else "", _units(member.parameters)]))
    head = f"def {member.name}(self{_inputs(schema, member.parameters)}) -> {_result(schema, outputs)}:"
    return f'{head}\n        """{doc}"""' if doc else f"{head} ..."


def _handler(schema: Schema, event: Event) -> str:
    doc = _units(event.values)
    head = f"def On{event.name}(self{_inputs(schema, event.values)}) -> None:"
    return f'{head}\n        """{doc}"""' if doc else f"{head} ..."


def _awaitable(schema: Schema, method: Method) -> str:
    event = method.ends[0]
    result = "None" if event == "CommandCompletedData" else _result(schema, schema.async_events[event].values)
    if method.command.series:
        result = f"list[{result}]"
    return f"async def {method.name}(self{_inputs(schema, method.parameters)}) -> {result}: ..."
