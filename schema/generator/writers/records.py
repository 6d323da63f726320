"""include/kestrine/records.h"""

from ..model.quantities import unit_of
from ..model.records import SCALARS, Field, Record
from ..model.schema import Schema
from .members import UNITS
from .text import header

_CPP = {"int32": "std::int32_t", "bool32": "std::int32_t", "double": "double", "byte": "std::uint8_t"}
_COMMENT = """The records of the protocol, laid out in memory as on the wire: packed to 4 bytes, nothing in between. The
// readers and writers take the wire's byte order for what it is, whatever the host's own.
//
// A double can lie at an address that is a multiple of 4 only: copy the field, do not bind a reference to it.
//
// A comment behind a field says what it measures, where the name does not.
// """ + UNITS


def write(schema: Schema) -> str:
    records = list(schema.records.all.values())
    enums = set(schema.enums)
    body = ["#pragma pack(push, 4)\n"]
    uses = _uses(schema)
    body += [_struct(record, uses.get(record.name, [])) for record in records]
    body += [f"using {alias} = {record.name};\n" for alias, record in schema.records.aliases.items()]
    body += ["#pragma pack(pop)\n"]
    body += [_asserts(record) for record in records]
    body += ["namespace kestrine {\n", _TRAITS]
    body += [_traits(record) for record in records]
    body += ["// Readers and writers of whole records; of a record with elements only the part before them. The readers of elements\n"
             "// are a part of what calls them, in any case: of an element read in a loop, only the fields in use are loaded.\n"]
    elements = {record.element.name for record in records if record.element}
    body += [_functions(record, enums, record.name in elements) for record in records]
    body += [_READ_AS, "}  // namespace kestrine"]
    includes = ["<cstddef>", "<cstdint>", "<type_traits>", "", '"kestrine/enums.h"', '"kestrine/wire.h"']
    return header(_COMMENT, includes, "\n".join(body))


_TRAITS = """// What generic code has to know of a record: `size` as declared, with one element where elements follow,
// and `header_size`, where the elements begin. A record with elements has their type as `Element`.
template <class Record>
struct RecordTraits;
"""

# Behind the readers: what a template calls for a type of the global namespace must be declared before it.
_READ_AS = """template <class Record>
[[gnu::always_inline]] inline Record read_as(const std::uint8_t* from) {
  Record record;
  read_record(from, record);
  return record;
}

// Element `index`, counted from 0, of a packet that holds that many.
template <class Record>
[[gnu::always_inline]] inline typename RecordTraits<Record>::Element read_element(const std::uint8_t* packet,
                                                                                  std::size_t index) {
  using Element = typename RecordTraits<Record>::Element;
  return read_as<Element>(packet + RecordTraits<Record>::header_size + index * RecordTraits<Element>::size);
}
"""


def _uses(schema: Schema) -> dict[str, list[str]]:
    """Where each record occurs. What occurs everywhere says so itself."""
    uses: dict[str, list[str]] = {}
    for packet in schema.packets:
        uses.setdefault(packet.record.name, []).append(f"Packet of type {packet.value.name} ({packet.value.value}).")
    for command in schema.commands.values():
        said = f'"{command.text}" ({command.code})'
        if command.answer:
            series = ", one for each item" if command.series else ""
            uses.setdefault(command.answer.name, []).append(f"Answer to {said}{series}.")
        if command.record:
            uses.setdefault(command.record.name, []).append(f"Parameters of {said}.")
    for record in schema.records.all.values():
        if record.element:
            uses.setdefault(record.element.name, []).append(f"Element of {record.name}.")
    return uses


def _struct(record: Record, uses: list[str]) -> str:
    doc = "".join(f"// {line}\n" for line in ([record.doc] if record.doc else uses))
    return doc + f"struct {record.name} {{\n" + "".join(f"  {_member(field)}\n" for field in record.fields) + "};\n"


def _member(field: Field) -> str:
    if field.type.startswith("text"):
        return f"char16_t {field.name}[{SCALARS[field.type] // 2}] = {{}};"
    if field.type.endswith("[]"):
        return f"{field.type[:-2]} {field.name}[1] = {{}};"
    unit = unit_of(field.quantity, field.name)
    return f"{_CPP.get(field.type, field.type)} {field.name} = {{}};" + (f"  // {unit}" if unit else "")


def _asserts(record: Record) -> str:
    checks = [f"static_assert(sizeof({record.name}) == {record.size});"]
    checks += [f"static_assert(offsetof({record.name}, {field.name}) == {field.offset});" for field in record.fields]
    checks += [f"static_assert(std::is_trivially_copyable_v<{record.name}>);"]
    return "\n".join(checks) + "\n"


def _traits(record: Record) -> str:
    lines = ["template <>", f"struct RecordTraits<{record.name}> {{",
             f"  static constexpr std::size_t size = {record.size};",
             f"  static constexpr std::size_t header_size = {record.header_size};"]
    if record.element:
        lines += [f"  using Element = {record.element.name};"]
    return "\n".join(lines + ["};"]) + "\n"


def _functions(record: Record, enums: set[str], is_element: bool) -> str:
    """The reader and the writer."""
    moves = [_moves(field, enums) for field in record.own_fields]
    inline = "[[gnu::always_inline]] inline" if is_element else "inline"
    return (f"{inline} void read_record(const std::uint8_t* from, {record.name}& into) {{\n"
            f"{''.join(f'  {load}{chr(10)}' for load, _ in moves)}}}\n\n"
            f"inline void write_record(const {record.name}& from, std::uint8_t* into) {{\n"
            f"{''.join(f'  {store}{chr(10)}' for _, store in moves)}}}\n")


def _moves(field: Field, enums: set[str]) -> tuple[str, str]:
    """The statements that load and store a field."""
    name, kind, at = field.name, field.type, field.offset
    if kind == "byte":
        return f"into.{name} = from[{at}];", f"into[{at}] = from.{name};"
    if kind.startswith("text"):
        units = SCALARS[kind] // 2
        return (f"wire::load_text(from + {at}, into.{name}, {units});",
                f"wire::store_text(into + {at}, from.{name}, {units});")
    if kind not in enums and kind not in SCALARS:
        return f"read_record(from + {at}, into.{name});", f"write_record(from.{name}, into + {at});"
    suffix = "f64" if kind == "double" else "i32"
    load = f"wire::load_{suffix}(from + {at})"
    return (f"into.{name} = {f'static_cast<{kind}>({load})' if kind in enums else load};",
            f"wire::store_{suffix}(into + {at}, from.{name});")
