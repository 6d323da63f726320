"""The parts of the reference that are lists: what stands in the catalogue beside the operations."""

import re
from html import escape

from generator.model.enums import Enum, EnumValue
from generator.model.events import Event
from generator.model.interfaces import Member
from generator.model.records import Field, Record
from generator.model.schema import Schema
from generator.writers.texts import constant_name

from .forms import Forms
from .html import Names, facts, listing, section, table
from .units import type_name, unit_name

_PARAMETER_STATUS = re.compile(r"VL_RS_(WrongParameter|Parameter)(\d+)(OutOfRangeN?OK)?")
_PARAMETER_ADVICE = {"OutOfRangeOK": "Nothing: it was done. Input {} lies outside its usual range.",
                     "OutOfRangeNOK": "Give input {} a value inside its range.",
                     None: "Give input {} a value that it can have."}


class Lists:
    def __init__(self, schema: Schema, names: Names, forms: Forms):
        self._schema, self._names, self._forms = schema, names, forms
        self._enums = {name: enum for name, enum in schema.enums.items() if name != "VL_ResultStatus"}
        for name in [*schema.async_events, *schema.sync_events]:
            names.add(name, f"events.html#{name}")
        for name in [*schema.records.all, *schema.records.aliases]:
            names.add(name, f"records.html#{name}")
        for enum in self._enums.values():
            names.add(enum.name, f"enumerations.html#{enum.name}")
            for value in enum.values:
                names.add(value.name, f"enumerations.html#{value.name}")
        names.add("VL_ResultStatus", "statuses.html")
        for value in schema.enums["VL_ResultStatus"].values:
            names.add(value.name, f"statuses.html#{value.name}")
        for member in schema.connect_members:
            names.add(member.name, f"connection.html#{member.name}")
        for error in schema.errors:
            names.add(f"error {error.name}", f"errors.html#{error.name}")
            names.add(f"k{error.name}", f"errors.html#{error.name}")
            names.add(constant_name(error.name), f"errors.html#{error.name}")
        for key in [each.key for each in (*schema.settings, *schema.waits)]:
            names.add(key, f"settings.html#{key}")

    def members(self) -> str:
        return "".join(section(each.name, self._member(each), each.name) for each in self._schema.connect_members)

    def _member(self, member: Member) -> str:
        rows = [[f"<code>{each.name}</code>", "out" if each.out else "in", type_name(self._names, each.type),
                 unit_name(each.quantity), str(each.offset or "")] for each in member.parameters]
        slot = self._forms.members["ILTConnect"][member.slot_name]
        python = self._forms.python["ILTConnect2"].get(member.name, "")
        failures = [[self._names.code(f"error {error.name}", str(error.number)), escape(error.name),
                     self._names.text(error.advice)] for error in self._schema.errors if member.name in error.members]
        return (f"<p>{self._names.text(member.doc)}</p>" +
                table(["Name", "", "Type", "Unit", "Offset in the packet"], rows) + listing(slot, "cpp") +
                (listing(python, "python") if python and member.kind == "method" else "") +
                (table(["Failure", "Name", "What to do"], failures) if failures else ""))

    def events(self) -> str:
        every = self._schema.async_events | self._schema.sync_events
        return "".join(section(name, self._event(name), name) for name in sorted(every))

    def _event(self, name: str) -> str:
        sides = [(side, events[name], sink) for side, events, sink in (
            ("synchronous", self._schema.sync_events, "SyncEvents"),
            ("asynchronous", self._schema.async_events, "AsyncEvents")) if name in events]
        event = sides[0][1]
        commands = [each.command for each in self._schema.answers
                    if name in [told.name for told in (each.async_event, each.second_event, each.sync_event) if told]]
        operations = " ".join(self._names.code(method.name) for method in self._schema.sync_methods
                              if method.command in commands and not method.name.endswith("Ex"))
        return f"<p>{self._names.text(event.doc)}</p>" + facts([
            ("Comes from", ", ".join(f"the {side} object ({each.dispid})" for side, each, _ in sides)),
            ("Made of", ", ".join(self._names.code(record.name) for record in event.records)),
            ("Answers", operations)]) + self._values(event) + "".join(
                listing(f"{self._forms.handlers[sink][name]}  // {sink}", "cpp") for _, _, sink in sides) + \
            listing(self._forms.python[sides[0][2]][f"On{name}"], "python")

    def _values(self, event: Event) -> str:
        rows = [[f"<code>{value.name}</code>", type_name(self._names, value.type), unit_name(value.quantity),
                 f"<code>{value.leaf.name}</code>" if value.leaf else "", str(value.leaf.offset) if value.leaf else ""]
                for value in event.values]
        return table(["Value", "Type", "Unit", "Field", "Offset"], rows) if rows else ""

    def records(self) -> str:
        uses = self._uses()
        parts = []
        for record in self._schema.records.all.values():
            aliases = [alias for alias, other in self._schema.records.aliases.items() if other is record]
            rows = [self._field(record, field) for field in record.fields]
            parts.append(section(record.name, "".join(f"<p>{line}</p>" for line in [
                self._names.text(record.doc), " ".join(uses.get(record.name, [])),
                f"{record.size} bytes" + (f", with one element; {record.header_size} before it" if record.element
                                          else "") + ".",
                f"Also called {', '.join(f'<code>{alias}</code>' for alias in aliases)}." if aliases else ""] if line) +
                table(["Offset", "Field", "Type", "Unit", "Handed out as"], rows), record.name))
        return "".join(parts)

    def _field(self, record: Record, field: Field) -> list[str]:
        nested = self._schema.records.is_record(field.type.removesuffix("[]"))
        return [str(field.offset), f"<code>{field.name}</code>", type_name(self._names, field.type),
                unit_name(field.quantity), "" if nested else f"<code>{field.public}</code>"]

    def _uses(self) -> dict[str, list[str]]:
        uses: dict[str, list[str]] = {}
        for packet in self._schema.packets:
            uses.setdefault(packet.record.name, []).append(
                f"Packet of type {self._names.code(packet.value.name)} ({packet.value.value}).")
        for command in self._schema.commands.values():
            for record, what in ((command.answer, "Answer to"), (command.record, "Parameters of")):
                if record and not (record.packet and what == "Answer to"):
                    uses.setdefault(record.name, []).append(f"{what} {self._names.code(command.method_name)}.")
        for record in self._schema.records.all.values():
            if record.element:
                uses.setdefault(record.element.name, []).append(f"Element of {self._names.code(record.name)}.")
        return uses

    def enumerations(self) -> str:
        return "".join(section(enum.name, self._enumeration(enum), enum.name) for enum in self._enums.values())

    def _enumeration(self, enum: Enum) -> str:
        users = dict.fromkeys(method.name.removesuffix("Ex") for method in self._schema.sync_methods
                              for each in method.parameters if each.type == enum.name)
        rows = [[str(value.value), f"<code>{value.name}</code>", self._meaning(enum.name, value)]
                for value in enum.values]
        return (f"<p>{self._names.text(enum.doc)}</p>" if enum.doc else "") + facts(
            [("Operations", " ".join(map(self._names.code, users)))]) + table(
            ["Value", "Name", "Text"], rows, [value.name for value in enum.values])

    def _meaning(self, enum: str, value: EnumValue) -> str:
        if enum == "VL_Command" and (command := self._schema.commands.get(value.name)):
            return f"“{escape(command.text)}”: " + " ".join(
                self._names.code(name) for name in dict.fromkeys(
                    each.name.removesuffix("Ex") for each in self._schema.sync_methods if each.command is command))
        if enum == "VL_DataType":
            return next((self._names.code(packet.record.name) for packet in self._schema.packets
                         if packet.value.name == value.name), "")
        return ""

    def statuses(self) -> str:
        rows, values = [], self._schema.enums["VL_ResultStatus"].values
        texts = {value.value: value.text for value in values if value.text}
        for value in values:
            kind = "good" if value.value == 0 else "warning" if value.value in self._schema.warnings else "failure"
            rows.append([str(value.value), f"<code>{value.name}</code>", escape(texts[value.value]), kind,
                         self._status_advice(value)])
        return table(["Number", "Name", "Text", "", "What to do"], rows, [value.name for value in values])

    def _status_advice(self, value: EnumValue) -> str:
        if found := _PARAMETER_STATUS.fullmatch(value.name):
            return _PARAMETER_ADVICE[found[3]].format(found[2])
        return self._names.text(self._schema.advice.get(value.value, ""))

    def errors(self) -> str:
        texts = {row.row: row.text for row in self._schema.texts}
        rows = [[str(error.number), f"<code>k{error.name}</code><br><code>{constant_name(error.name)}</code>",
                 escape(texts.get(error.row, "the command, and what happened")).replace("\n", "<br>"),
                 self._names.text(error.advice)] for error in self._schema.errors]
        return table(["Number", "Names", "Text", "What to do"], rows,
                     [error.name for error in self._schema.errors])

    def constants(self) -> str:
        return table(["Number", "Name", "Value"], [[str(each.name.value), self._names.code(each.name.name),
                                                    escape(each.expression)] for each in self._schema.constants])

    def settings(self) -> str:
        rows = [[f"<code>{each.key}</code>", str(each.default), each.unit, self._names.text(each.doc)]
                for each in self._schema.settings]
        return table(["Key", "Default", "Unit", "Says"], rows, [each.key for each in self._schema.settings])

    def waits(self) -> str:
        users = {wait.name: [each.name for each in self._schema.sync_methods
                             if each.wait == wait.name and not each.name.endswith("Ex")] for wait in self._schema.waits}
        rows = [[f"<code>{wait.key}</code>", f"{wait.ordinary}&nbsp;ms",
                 f"{wait.increased}&nbsp;ms" if wait.increased else "",
                 "all others" if wait.name == "standard" else " ".join(map(self._names.code, users[wait.name]))]
                for wait in self._schema.waits]
        return table(["Key", "Default", "Increased", "Operations"], rows, [wait.key for wait in self._schema.waits])

    def packets(self) -> str:
        told = {event.name: event for event in self._schema.async_events.values()}
        rows = []
        for packet in self._schema.packets:
            made = [event.name for event in told.values() if packet.record in event.records]
            rows.append([str(packet.value.value), self._names.code(packet.value.name),
                         self._names.code(packet.record.name), " ".join(map(self._names.code, made))])
        return table(["Type", "Name", "Laid out as", "Events"], rows)
