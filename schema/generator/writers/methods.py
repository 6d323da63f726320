"""src/commands/typed_methods.h"""

from ..model.interfaces import Member, Parameter, Reader
from ..model.methods import Method
from ..model.schema import Schema
from .members import cpp_type, signature
from .text import header, wrapped

_SLOTS = {"long": "i32", "double": "f64", "text": "text", "bytes": "variant"}


def write(schema: Schema) -> str:
    body = "\n\n".join([_typed_class("Sync", schema.sync_methods), _typed_class("Async", schema.async_methods),
                        _connect_calls(schema.connect_members), _at_home(schema.connect_members)])
    return header("From typed operations to rows, and from numbers to the typed members of the connection.",
                  ['"commands/arguments.h"', '"component_types/error_info.h"', '"kestrine/interfaces.h"',
                   '"platform/home.h"'], body, "kestrine::commands")


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


def _at_home(members: list[Member]) -> str:
    checked = "".join(_checked(member) for member in members)
    return f"""// The members of the connection as its callers reach them: refused on any thread but the object's own,
// and with a status code where memory runs out.
template <class Object>
class AtHome : public Object {{
 public:
  using Object::Object;

{checked}
 protected:
  ~AtHome() override = default;

 private:
  const platform::Home home_;
}};"""


def _checked(member: Member) -> str:
    start, declared = signature(member)
    call = wrapped(f"    return Object::{member.slot_name}(", [each.name for each in member.parameters], ");", 8)
    # A reader guards its own failures, so that its many arguments can stay in their places.
    if not isinstance(member, Reader):
        call = f"    return component_types::guarded([&] {{\n  {call}\n    }});"
    return (f"{wrapped(f'  {start}', declared, ') override {')}\n"
            f"    if (!home_.is_here()) return RPC_E_WRONG_THREAD;\n{call}\n  }}\n")


def _unpack(parameter: Parameter, index: int) -> str:
    if parameter.out:
        return f"static_cast<{cpp_type(parameter.type)}*>(arguments[{index}].out)"
    value = f"arguments[{index}].{_SLOTS.get(parameter.type, 'i32')}"
    return value if parameter.type in _SLOTS else f"static_cast<{cpp_type(parameter.type)}>({value})"


def _pack(parameter: Parameter) -> str:
    if parameter.out:
        return f"out = {parameter.name}"
    if parameter.is_record:
        return f"record = &{parameter.name}"
    return f"{_SLOTS.get(parameter.type, 'i32')} = {parameter.name}"
