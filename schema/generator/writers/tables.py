"""src/protocol/tables.cpp"""

from ..model.commands import Command
from ..model.records import Leaf, Record
from ..model.schema import Schema
from .text import array, constant, flag, literal, source


def write(schema: Schema) -> str:
    records = list(schema.records.all.values())
    named = {**schema.records.all, **schema.records.aliases}
    commands = list(schema.commands.values())
    parts = [_fields(f"kFields_{record.name}", record.leaves) for record in records]
    parts += [_record(name, record) for name, record in named.items()]
    parts += [_fields(f"kParameters_{command.name}", command.parameters) for command in commands if command.parameters]
    parts += [array("const RecordRow*", "kRecords", [f"&kRecord_{name}" for name in named])]
    parts += [array("CommandRow", "kCommands", [_command(command) for command in commands])]
    for enum in schema.enums.values():
        values = [f"{{{literal(value.name)}, {value.value}}}" for value in enum.values]
        parts += [array("EnumValue", f"kValues_{enum.name}", values)]
    parts += [array("EnumRow", "kEnumerations",
                    [f"{{{literal(enum)}, kValues_{enum}}}" for enum in schema.enums])]
    parts += [array("PacketRow", "kPackets",
                    [f"{{{packet.value.value}, {literal(packet.value.name)}, &kRecord_{packet.record.name}}}"
                     for packet in schema.packets])]
    body = "namespace {\n\n" + "\n".join(parts) + "\n}  // namespace\n" + _ACCESS
    return source("The tables of the protocol.", ['"protocol/tables.h"'], body, "kestrine::protocol")


_ACCESS = """
std::span<const RecordRow* const> records() { return kRecords; }

std::span<const CommandRow> commands() { return kCommands; }

std::span<const EnumRow> enumerations() { return kEnumerations; }

std::span<const PacketRow> packets() { return kPackets; }
"""


def _fields(name: str, leaves: list[Leaf]) -> str:
    return array("Field", name, [
        f"{{{literal(leaf.name)}, {literal(leaf.type)}, FieldType::{leaf.kind}, {leaf.offset}, {leaf.units}, "
        f"Quantity::{constant(leaf.quantity or 'none')}}}"
        for leaf in leaves])


def _record(name: str, record: Record) -> str:
    element = f"&kRecord_{record.element.name}" if record.element else "nullptr"
    return (f"constexpr RecordRow kRecord_{name}{{{literal(name)}, {record.size}, kFields_{record.name}, "
            f"{record.header_size}, {element}}};\n")


def _command(command: Command) -> str:
    parameters = f"kParameters_{command.name}" if command.parameters else "{}"
    answer = f"&kRecord_{command.answer.name}" if command.answer else "nullptr"
    return (f"{{{command.code}, {literal(command.name)}, {literal(command.text, 'u')}, {command.request_size}, "
            f"{parameters}, {answer}, {flag(command.series)}}}")
