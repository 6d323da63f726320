"""include/kestrine/tracker_calls.h and include/kestrine/tracker_events.h"""

from ..model.events import Event
from ..model.interfaces import Parameter
from ..model.methods import Method
from ..model.quantities import unit_of
from ..model.schema import Schema
from ..model.values import Value
from .interfaces import sync_doc
from .members import UNITS, comment, cpp_type, units_note
from .text import header, wrapped

_CALLS_COMMENT = """The operations of a tracker as they are called in C++: values in, values out, failures thrown. A class
// derives from them in tracker.h. Flags are true or false, texts UTF-8.
//
// """ + UNITS
_EVENTS_COMMENT = """What a tracker tells of its own accord, as values for Tracker::on().
//
// """ + UNITS
_NATIVE = {"bool": "bool", "text": "std::string", "variant": "std::vector<std::uint8_t>"}
# Of each type: how the interface hands it out, and how it is read then.
_CARRIED = {"bool": ("VARIANT_BOOL {name} = 0;", "&{name}", "{name} != 0"),
            "text": ("Text {name};", "{name}.put()", "{name}.utf8()"),
            "variant": ("detail::Bytes {name};", "{name}.put()", "{name}.copy()")}


def write_calls(schema: Schema) -> str:
    keys = {wait.name: wait.key for wait in schema.waits}
    results = "\n".join(_result(method) for method in schema.sync_methods if _is_struct(method))
    series = {answer.command.name: answer.sync_event for answer in schema.answers if answer.command.series}
    members = "\n".join(_list(method, series[method.command.name], keys)
                        if method.command and method.command.name in series else _call(method, keys)
                        for method in schema.sync_methods)
    body = f"""{results}
// The operations themselves, in the order of their identifiers.
class TrackerCalls : public detail::TrackerCore {{
 public:
{members}
 protected:
  using TrackerCore::TrackerCore;
  TrackerCalls(TrackerCalls&&) noexcept = default;
  TrackerCalls& operator=(TrackerCalls&&) noexcept = default;
  ~TrackerCalls() = default;
}};"""
    return header(_CALLS_COMMENT, ["<cstdint>", "<string>", "<vector>", "", '"kestrine/detail/tracker_core.h"'], body,
                  "kestrine")


def _outputs(method: Method) -> list[Parameter]:
    return [parameter for parameter in method.parameters if parameter.out]


def _is_struct(method: Method) -> bool:
    return len(_outputs(method)) > 1


def _native(kind: str) -> str:
    return _NATIVE.get(kind, cpp_type(kind))


def _result(method: Method) -> str:
    return f"// Of {method.name}().\n{_struct(f'{method.name}Result', _outputs(method))}"


def _struct(name: str, values: list[Parameter] | list[Value]) -> str:
    fields = ""
    for value in values:
        unit = unit_of(value.quantity, value.name)
        fields += f"  {_native(value.type)} {value.name}{{}};" + (f"  // {unit}\n" if unit else "\n")
    return f"struct {name} {{\n{fields}}};\n"


def _call(method: Method, keys: dict[str, str]) -> str:
    inputs = [parameter for parameter in method.parameters if not parameter.out]
    outputs = _outputs(method)
    returned = "void" if not outputs else f"{method.name}Result" if _is_struct(method) else _native(outputs[0].type)
    start = wrapped(f"  {'[[nodiscard]] ' if outputs else ''}{returned} {method.name}(",
                    [_input(parameter) for parameter in inputs], ") {")
    lines = [f"{returned} result{{}};"] if outputs else []
    lines += [_CARRIED[each.type][0].format(name=each.name) for each in outputs if each.type in _CARRIED]
    arguments = [_out(each, method) if each.out else _given(each) for each in method.parameters]
    command = method.command.name if method.command else "VL_C_Unknown"
    call = wrapped(f"    done({command}, commands().{method.slot_name}(", arguments, "));", 8)
    lines += [call.strip()]
    lines += [f"{_place(each, method)} = {_CARRIED[each.type][2].format(name=each.name)};"
              for each in outputs if each.type in _CARRIED]
    lines += ["return result;"] if outputs else []
    doc = f"  // {method.dispid}. {sync_doc(method, keys)}\n" + comment(units_note(inputs), "  ")
    return doc + start + "\n" + "".join(f"    {line}\n" for line in lines) + "  }\n"


def _list(method: Method, item: Event, keys: dict[str, str]) -> str:
    """A command whose answer comes item by item."""
    total = next(value.name for value in item.values if value.leaf == method.command.answer.content[0])
    doc = sync_doc(method, keys).replace("sends only; the items arrive as events", "waits for all items")
    return (f"  // {method.dispid}. {doc}\n  [[nodiscard]] std::vector<{item.name}> {method.name}() {{\n" +
            wrapped(f"    return list<{item.name}>(", [method.command.name, f"&{item.name}::{total}",
                                                       f"&ILTCommandSync::{method.name}"], ");", 8) + "\n  }\n")


def _input(parameter: Parameter) -> str:
    if parameter.is_record:
        return f"const {parameter.type}& {parameter.name}"
    return f"{_native(parameter.type)} {parameter.name}"


def _given(parameter: Parameter) -> str:
    return f"detail::flag({parameter.name})" if parameter.type == "bool" else parameter.name


def _place(parameter: Parameter, method: Method) -> str:
    return f"result.{parameter.name}" if _is_struct(method) else "result"


def _out(parameter: Parameter, method: Method) -> str:
    carried = _CARRIED.get(parameter.type)
    return carried[1].format(name=parameter.name) if carried else f"&{_place(parameter, method)}"


def write_events(schema: Schema) -> str:
    events = schema.sync_events.values()
    body = "\n".join(_struct(event.name, event.values) for event in events)
    body += "\nnamespace detail {\n\n" + "\n".join(_sink(event) for event in events) + "\n}  // namespace detail"
    return header(_EVENTS_COMMENT, ["<cstdint>", "<string>", "", '"kestrine/detail/event_sink.h"'], body,
                  "kestrine")


def _sink(event: Event) -> str:
    parameters = wrapped(f"  void {event.name}(", [f"{cpp_type(value.type)} {value.name}" for value in event.values],
                         ") override {")
    values = wrapped(f"    handler_(kestrine::{event.name}{{", [_heard(value) for value in event.values], "});", 8)
    return f"""template <>
class EventSink<kestrine::{event.name}> final : public HandlerSink<kestrine::{event.name}> {{
  using HandlerSink::HandlerSink;
{parameters}
{values}
  }}
}};
"""


def _heard(value: Value) -> str:
    return {"bool": f"{value.name} != 0", "text": f"text_of({value.name})"}.get(value.type, value.name)
