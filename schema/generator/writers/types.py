"""src/component/type_tables.cpp"""

from ..model.events import Event
from ..model.interfaces import Member, Parameter
from ..model.records import Field, Record
from ..model.schema import Schema
from .text import array, flag, literal, source

_TYPES = {"long": "VT_I4", "int32": "VT_I4", "bool32": "VT_I4", "double": "VT_R8", "bool": "VT_BOOL",
          "text": "VT_BSTR", "variant": "VT_VARIANT", "bytes": "VT_VARIANT", "unknown": "VT_UNKNOWN",
          "byte": "VT_UI1", "text32": "VT_UI2", "text128": "VT_UI2"}
_COUNTS = {"byte": 1, "text32": 32, "text128": 128}
_KINDS = {"method": "kMethod", "get": "kGet", "put": "kPut"}


def write(schema: Schema) -> str:
    return source("The types of the library as rows.",
                  ['"component/type_rows.h"', "", '"kestrine/interfaces.h"'], _Types(schema).body(),
                  "kestrine::component")


class _Types:
    """Collects the rows of all types; a type is referred to by its place among them."""

    def __init__(self, schema: Schema):
        self._schema = schema
        self._places = {name: place for place, name in enumerate([*schema.enums, *schema.records.all])}
        self._arrays: list[str] = []
        self._rows: list[str] = []

    def body(self) -> str:
        for enum in self._schema.enums.values():
            rows = [f"{{{_text(value.name)}, {value.value}}}" for value in enum.values]
            self._add("kEnumeration", enum.name, values=self._array("ValueRow", enum.name, rows))
        for record in self._schema.records.all.values():
            fields = self._array("FieldRow", record.name, [self._field(record, field) for field in record.fields])
            self._add("kRecord", record.name, fields=fields, size=record.size)
        self._add_interfaces()
        lines = "".join(f"    {row},\n" for row in self._rows)
        return "namespace {\n\n" + "\n".join(self._arrays) + f"\nconst TypeRow kTypes[] = {{\n{lines}}};\n\n" + \
            "}  // namespace\n\nstd::span<const TypeRow> types() { return kTypes; }"

    def _add_interfaces(self) -> None:
        members = {"LTConnect": self._schema.connect_members, "LTCommandSync": self._schema.sync_methods,
                   "LTCommandAsync": self._schema.async_methods}
        events = {"LTCommandSync": self._schema.sync_events, "LTCommandAsync": self._schema.async_events}
        places: dict[str, int] = {}
        for name, rows in members.items():
            array_name = self._members(name, rows)
            for suffix, kind in (("", "kInterface"), ("2", "kDual")):
                places[f"I{name}{suffix}"] = self._add(kind, f"I{name}{suffix}", "IID_", members=array_name)
        for name, rows in events.items():
            array_name = self._members(f"{name}Events", rows.values())
            for suffix in ("", "2"):
                interface = f"_I{name}{suffix}Events"
                places[interface] = self._add("kEvents", interface, "DIID_", members=array_name)
        for suffix in ("", "2"):
            for name in members:
                self._add("kClass", name + suffix, "CLSID_", interface=places[f"I{name}{suffix}"],
                          events=places.get(f"_I{name}{suffix}Events", -1))

    def _add(self, kind: str, name: str, prefix: str = "", **parts: object) -> int:
        given = {"values": "{}", "fields": "{}", "members": "{}", "size": 0, "interface": -1, "events": -1} | parts
        identifier = f"&{prefix}{name}" if prefix else "nullptr"
        self._rows.append(f"{{{_text(name)}, {identifier}, {', '.join(str(part) for part in given.values())}, "
                          f"TypeKind::{kind}}}")
        return len(self._rows) - 1

    def _array(self, kind: str, name: str, rows: list[str]) -> str:
        self._arrays.append(array(kind, f"k{name}", rows))
        return f"k{name}"

    def _members(self, name: str, members: list[Member] | list[Event]) -> str:
        rows = []
        for member in members:
            params = [self._param(each) for each in
                      (member.values if isinstance(member, Event) else member.parameters)]
            held = self._array("ParamRow", f"{name}_{member.slot_name if isinstance(member, Member) else member.name}",
                               params) if params else "{}"
            kind = _KINDS[member.kind] if isinstance(member, Member) else "kMethod"
            rows.append(f"{{{member.dispid}, {_text(member.name)}, MemberKind::{kind}, {held}}}")
        return self._array("MemberRow", f"{name}Members", rows)

    def _param(self, parameter: Parameter) -> str:
        return (f"{{{_text(parameter.name)}, {self._reference(parameter.type)}, "
                f"{flag(getattr(parameter, 'out', False))}}}")

    def _field(self, record: Record, field: Field) -> str:
        name, count = field.type.removesuffix("[]"), _COUNTS.get(field.type, 0)
        if record.element and field is record.fields[-1]:
            count = 1
        return f"{{{_text(field.name)}, {self._reference(name)}, {field.offset}, {count}}}"

    def _reference(self, name: str) -> str:
        if name in _TYPES:
            return f"{{{_TYPES[name]}, kNoType}}"
        record = self._schema.records.aliases.get(name)
        kind = "VT_I4" if name in self._schema.enums else "VT_RECORD"
        return f"{{{kind}, {self._places[record.name if record else name]}}}"


def _text(name: str) -> str:
    return literal(name, "u")
