"""src/protocol/catalogue_rows.cpp"""

from ..model.commands import Command
from ..model.events import Answer, Event
from ..model.interfaces import Member, Parameter
from ..model.methods import Method
from ..model.records import Field, Leaf, Record
from ..model.schema import Schema
from ..model.values import Value
from .text import array, constant, flag, literal, source

_TYPES = {"int32": "kInt32", "long": "kInt32", "bool32": "kFlag", "bool": "kFlag", "double": "kDouble",
          "text": "kText", "text32": "kText", "text128": "kText", "byte": "kBytes", "variant": "kBytes",
          "bytes": "kBytes", "unknown": "kObject"}


def write(schema: Schema) -> str:
    return source("The catalogue as rows.",
                  ['"protocol/catalogue.h"', "", "<numbers>", "", '"kestrine/interfaces.h"'],
                  _Catalogue(schema).body(), "kestrine::protocol")


class _Catalogue:
    """Collects the rows; types come last, and are referred to by their places from the first row on."""

    def __init__(self, schema: Schema):
        self._schema = schema
        self._records = schema.records.all | schema.records.aliases
        self._places = {name: place for place, name in enumerate([*schema.enums, *schema.records.all])}
        self._places |= {alias: self._places[record.name] for alias, record in schema.records.aliases.items()}
        self._parts: list[str] = []
        self._types: list[str] = []
        self._access: list[str] = []

    def body(self) -> str:
        schema = self._schema
        statuses = [(each.value, each.text) for each in schema.enums["VL_ResultStatus"].values if each.text is not None]
        self._texts("StatusTexts", statuses)
        self._texts("StringTable", [(text.row, text.text) for text in schema.texts])
        self._table("WarningRow", "Warnings",
                    [f"{{{status}, {row}}}" for status, row in sorted(schema.warnings.items())])
        self._table("ConstantRow", "Constants", [
            f"{{{each.name.name}, {each.expression.replace('pi', 'std::numbers::pi')}}}" for each in schema.constants])
        self._table("WaitRow", "WaitClasses", [f"{{{literal(each.key, 'u')}, {each.ordinary}, {each.increased}}}"
                                               for each in schema.waits])
        self._table("PacketRow", "Packets", [
            f"{{{packet.value.value}, {literal(packet.value.name)}, {self._type(packet.record.name)}}}"
            for packet in schema.packets])
        self._table("MemberRow", "SyncEvents", self._members("SyncEvent", schema.sync_events.values()))
        self._table("MemberRow", "AsyncEvents", self._members("AsyncEvent", schema.async_events.values()))
        answers = {answer.command.name: answer for answer in schema.answers}
        self._table("CommandRow", "Commands", [self._command(command, answers.get(command.name))
                                               for command in schema.commands.values()])
        self._table("MemberRow", "SyncMethods", self._members("SyncMethod", schema.sync_methods))
        self._table("MemberRow", "AsyncMethods", self._members("AsyncMethod", schema.async_methods))
        self._array("MemberRow", "ConnectMembers", self._members("ConnectMember", schema.connect_members))
        self._add_types()
        self._table("TypeRow", "Types", self._types)
        self._parts[-1] = self._parts[-1].replace("constexpr", "constinit const", 1)
        return (f"namespace {{\n\nextern const TypeRow kTypes[{len(self._types)}];\n\n" + "\n".join(self._parts) +
                "\n}  // namespace\n\n" + "\n".join(self._access))

    def _table(self, row: str, name: str, rows: list[str]) -> None:
        held = self._array(row, name, rows)
        self._access.append(f"std::span<const {row}> {_snake(name)}() {{ return {held}; }}")

    def _texts(self, name: str, rows: list[tuple[int, str]]) -> None:
        self._table("TextRow", name, [f"{{{number}, {literal(text, 'u')}}}" for number, text in sorted(rows)])

    def _array(self, kind: str, name: str, rows: list[str]) -> str:
        if not rows:
            return "{}"
        self._parts.append(array(kind, f"k{name}", rows))
        return f"k{name}"

    def _type(self, name: str) -> str:
        return f"&kTypes[{self._places[name]}]" if name in self._places else "nullptr"

    def _value(self, name: str, kind: str, quantity: str, out: bool, offset: object, count: int) -> str:
        value_type = _TYPES.get(kind, "kRecord" if kind in self._records else "kInt32")
        return (f"{{{literal(name)}, {self._type(kind)}, ValueType::{value_type}, "
                f"Quantity::{constant(quantity or 'none')}, {flag(out)}, {offset}, {count}}}")

    def _parameter(self, each: Parameter | Value) -> str:
        if isinstance(each, Value):
            leaf = each.leaf or Leaf(each.name, each.type, "kInNoPacket")
            return self._value(each.name, each.type, each.quantity, False, leaf.offset, leaf.units)
        units = each.size if each.type == "text" else 0
        return self._value(each.name, each.type, each.quantity, each.out, each.offset, units)

    def _field(self, record: Record, field: Field) -> str:
        is_element = record.element is not None and field is record.fields[-1]
        units = Leaf(field.name, field.type, field.offset).units
        count = 1 if is_element or field.type == "byte" else units
        return self._value(field.name, field.type.removesuffix("[]"), field.quantity, False, field.offset, count)

    def _members(self, what: str, members: list[Member] | list[Event]) -> list[str]:
        rows = []
        for member in members:
            is_event = isinstance(member, Event)
            values = self._array("Value", f"{what}_{member.name if is_event else member.slot_name}",
                                 [self._parameter(each) for each in (member.values if is_event else member.parameters)])
            columns = {"dispid": member.dispid, "name": literal(member.name),
                       "kind": not is_event and member.kind != "method" and f"MemberKind::{constant(member.kind)}",
                       "values": values != "{}" and values}
            rows.append(_row(columns | (self._departures(member) if isinstance(member, Method) else {})))
        return rows

    def _departures(self, method: Method) -> dict[str, object]:
        schema, wait = self._schema, [wait.name for wait in self._schema.waits]
        return {"command": method.command and f"&kCommands[{list(schema.commands.values()).index(method.command)}]",
                "wait": method.wait in wait and f"&kWaitClasses[{wait.index(method.wait)}]",
                "adds_measure_time": method.adds_measure_time, "sends_only": method.sends_only,
                "mode_check": method.mode and f"ModeCheck::{constant(method.mode)}",
                "source": method.source in ("measurement", "tiltra") and f"Source::{constant(method.source)}",
                "waits_for_result": method.waits_for_result, "outputs_when_good": method.outputs_when_good,
                "result_type": None if method.result_type == -1 else method.result_type,
                "mirror": method.mirror and f"Mirror::{constant(method.mirror)}",
                "speed": method.speed and f"Speed::{constant(method.speed)}"}

    def _command(self, command: Command, answer: Answer | None) -> str:
        def fires(side: str, event: Event | None) -> str | None:
            return event and f"&k{side}Events[{event.dispid - 1}]"

        parameters = [self._value(leaf.name, leaf.type, leaf.quantity, False, leaf.offset, 0)
                      for leaf in command.parameters]
        columns = {"code": command.code, "name": literal(command.name), "text": literal(command.text, "u"),
                   "request_size": command.request_size or None,
                   "parameters": parameters and self._array("Value", f"Parameters_{command.name}", parameters),
                   "answer": command.answer and self._type(command.answer.name), "series": command.series}
        if answer:
            columns |= {"async_event": fires("Async", answer.async_event),
                        "async_event2": fires("Async", answer.second_event),
                        "sync_event": fires("Sync", answer.sync_event),
                        "status_tested": None if answer.tested else "false",
                        "status_tested_twice": answer.tested_twice}
        return _row(columns)

    def _add_types(self) -> None:
        for enum in self._schema.enums.values():
            values = [f"{{{literal(value.name)}, {value.value}}}" for value in enum.values]
            self._add_type(enum.name, "kEnumeration", values=self._array("EnumValue", f"Values_{enum.name}", values))
        for record in self._schema.records.all.values():
            fields = [self._field(record, field) for field in record.fields]
            self._add_type(record.name, "kRecord", fields=self._array("Value", f"Fields_{record.name}", fields),
                           size=record.size)
        interfaces = {"LTConnect": "kConnectMembers", "LTCommandSync": "kSyncMethods",
                      "LTCommandAsync": "kAsyncMethods"}
        events = {"LTCommandSync": "kSyncEvents", "LTCommandAsync": "kAsyncEvents"}
        for name, members in interfaces.items():
            for suffix, kind in (("", "kInterface"), ("2", "kDual")):
                self._add_type(f"I{name}{suffix}", kind, "IID_", members=members)
        for name, members in events.items():
            for suffix in ("", "2"):
                self._add_type(f"_I{name}{suffix}Events", "kEvents", "DIID_", members=members)
        for suffix in ("", "2"):
            for name in interfaces:
                fires = {"fires": self._type(f"_I{name}{suffix}Events")} if name in events else {}
                self._add_type(name + suffix, "kClass", "CLSID_", implements=self._type(f"I{name}{suffix}"), **fires)

    def _add_type(self, name: str, kind: str, prefix: str = "", **columns: object) -> None:
        self._places[name] = len(self._types)
        identifier = {"id": f"&{prefix}{name}"} if prefix else {}
        self._types.append(_row({"name": literal(name), "kind": f"TypeKind::{kind}"} | identifier | columns))


def _row(columns: dict[str, object]) -> str:
    """Columns that hold nothing are left out."""
    return "{" + ", ".join(f".{name} = {'true' if value is True else value}" for name, value in columns.items()
                           if value or type(value) is int) + "}"


def _snake(name: str) -> str:
    return "".join("_" + letter.lower() if letter.isupper() else letter for letter in name).lstrip("_")
