"""src/commands/method_rows.h, src/commands/method_rows.cpp and src/commands/typed_methods.h"""

from ..model.interfaces import Member, Parameter
from ..model.methods import FAMILIES, Method
from ..model.schema import Schema
from .members import cpp_type, signature
from .text import array, constant, flag, header, literal, source, wrapped

_TYPES = {"long": "kLong", "double": "kDouble", "bool": "kBool", "text": "kText", "variant": "kVariant"}
_SLOTS = {"long": "i32", "double": "f64", "bool": "boolean", "text": "text", "bytes": "variant"}


def write_header(schema: Schema) -> str:
    waits = ", ".join(constant(name) for name in ["none", *(wait.name for wait in schema.waits)])
    families = ", ".join(constant(family) for family in FAMILIES)
    body = f"""{wrapped("enum class WaitClass : std::uint8_t { ", waits.split(", "), " };", 2)}

// How an operation departs from the common pattern; plain ones do not.
{wrapped("enum class Family : std::uint8_t { ", families.split(", "), " };", 2)}

// Which receive buffer the outputs are read from.
enum class Source : std::uint8_t {{ kNone, kAnswer, kMeasurement, kTiltra }};

// An enumeration counts as a long.
enum class ParamType : std::uint8_t {{ kLong, kDouble, kBool, kText, kVariant, kRecord }};

struct Param {{
  const char* name;
  const char* type_name;
  ParamType type;
  bool out;
  std::uint16_t offset;  // in: in the request; out: in the packet of the row's source
  std::uint16_t size;    // bytes of a record, units of an output text, else 0
}};

struct MethodRow {{
  int dispid;
  const char* name;
  std::int32_t command;  // -1: none
  Family family;
  WaitClass wait;
  bool adds_measure_time;
  Source source;
  std::int32_t result_type;  // the data type that a stationary point must have been measured as, else -1
  std::span<const Param> params;
}};

// In the order of their identifiers, which begin with 1. Asynchronous ones wait for nothing and have no outputs.
std::span<const MethodRow> sync_methods();
std::span<const MethodRow> async_methods();"""
    return header("The operations of both command sets as rows.", ["<cstdint>", "<span>"], body,
                  "kestrine::commands")


def write_rows(schema: Schema) -> str:
    parts = _rows("Sync", schema.sync_methods) + _rows("Async", schema.async_methods)
    body = "namespace {\n\n" + "\n".join(parts) + "\n}  // namespace\n\n" + \
        "std::span<const MethodRow> sync_methods() { return kSyncMethods; }\n" + \
        "std::span<const MethodRow> async_methods() { return kAsyncMethods; }"
    return source("The operations of both command sets as rows.", ['"commands/method_rows.h"'], body,
                  "kestrine::commands")


def _rows(side: str, methods: list[Method]) -> list[str]:
    parts = [array("Param", f"k{side}_{method.name}", [_param(parameter) for parameter in method.parameters])
             for method in methods if method.parameters]
    return parts + [array("MethodRow", f"k{side}Methods", [_method(side, method) for method in methods])]


def _param(parameter: Parameter) -> str:
    kind = "kRecord" if parameter.is_record else _TYPES.get(parameter.type, "kLong")
    return (f"{{{literal(parameter.name)}, {literal(parameter.type)}, ParamType::{kind}, {flag(parameter.out)}, "
            f"{parameter.offset}, {parameter.size}}}")


def _method(side: str, method: Method) -> str:
    parameters = f"k{side}_{method.name}" if method.parameters else "{}"
    return (f"{{{method.dispid}, {literal(method.name)}, {method.command.code if method.command else -1}, "
            f"Family::{constant(method.family)}, WaitClass::{constant(method.wait)}, "
            f"{flag(method.adds_measure_time)}, Source::{constant(method.source)}, {method.result_type}, "
            f"{parameters}}}")


def write_typed(schema: Schema) -> str:
    body = "\n\n".join([_typed_class("Sync", schema.sync_methods), _typed_class("Async", schema.async_methods),
                        _connect_calls(schema.connect_members)])
    return header("From typed operations to rows, and from numbers to the typed members of the connection.",
                  ['"commands/argument.h"', '"kestrine/interfaces.h"'], body, "kestrine::commands")


def _typed_class(side: str, methods: list[Method]) -> str:
    typed = "\n".join(_typed(method) for method in methods)
    return f"""// The typed operations of `Interface`, every one a call of the row with its identifier.
template <class Interface>
class Typed{side}Methods : public Interface {{
 public:
{typed}
 protected:
  ~Typed{side}Methods() = default;

  // Null arguments for an operation without parameters.
  virtual HRESULT call(int dispid, Argument* arguments) = 0;
}};"""


def _typed(method: Method) -> str:
    start, declared = signature(method)
    if not method.parameters:
        return f"  {start}) override {{ return this->call({method.dispid}, nullptr); }}\n"
    packs = "".join(f"    packed[{index}].{_pack(parameter)};\n" for index, parameter in enumerate(method.parameters))
    return (f"{wrapped(f'  {start}', declared, ') override {')}\n"
            f"    Argument packed[{len(method.parameters)}]{{}};\n{packs}"
            f"    return this->call({method.dispid}, packed);\n  }}\n")


def _connect_calls(members: list[Member]) -> str:
    cases = "\n".join(f"    case {member.dispid}:\n" +
                      wrapped(f"      return object.{member.slot_name}(",
                              [_unpack(each, index) for index, each in enumerate(member.parameters)], ");", 10)
                      for member in members)
    return f"""// The member of the connection with this identifier; one argument for each of its parameters, in order.
template <class Interface>
HRESULT call_connect_member(Interface& object, int dispid, const Argument* arguments) {{
  switch (dispid) {{
{cases}
    default:
      return DISP_E_MEMBERNOTFOUND;
  }}
}}"""


def _unpack(parameter: Parameter, index: int) -> str:
    if parameter.out:
        return f"static_cast<{cpp_type(parameter.type)}*>(arguments[{index}].out)"
    value = f"arguments[{index}].{_SLOTS.get(parameter.type, 'i32')}"
    return value if parameter.type in _SLOTS else f"static_cast<{parameter.type}>({value})"


def _pack(parameter: Parameter) -> str:
    if parameter.out:
        return f"out = {parameter.name}"
    if parameter.is_record:
        return f"record = &{parameter.name}"
    return f"{_SLOTS.get(parameter.type, 'i32')} = {parameter.name}"
