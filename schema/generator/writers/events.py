"""include/kestrine/events.h and src/protocol/event_numbers.h"""

from ..model.events import Event
from ..model.schema import Schema
from .members import UNITS, comment, cpp_type, units_note
from .text import header, literal, wrapped

_SINKS_COMMENT = """Typed sinks: derive from one, override what you want to hear of, and subscribe it (subscription.h).
//
// """ + UNITS


def write(schema: Schema) -> str:
    body = _sink("SyncEvents", schema.sync_events) + "\n" + _sink("AsyncEvents", schema.async_events)
    includes = ["<cstdint>", "", '"kestrine/enums.h"', '"kestrine/interfaces.h"', '"kestrine/sink.h"']
    return header(_SINKS_COMMENT, includes, body, "kestrine")


def _sink(name: str, events: dict[str, Event]) -> str:
    handlers = "\n".join(_handler(event) for event in events.values())
    cases = "\n".join(_case(name, event) for event in events.values())
    names = wrapped("  static constexpr const char* kNames[] = {", [literal(event) for event in events], "};")
    interface = f"DIID__ILTCommand{name.removesuffix('s')}s"
    second = f"DIID__ILTCommand{name.removesuffix('Events')}2Events"
    return f"""// Takes the events of either generation's {name.removesuffix('Events').lower()}hronous command object.
class {name} : public Sink {{
 public:
  {name}() : Sink({interface}, {second}, kNames) {{}}

{handlers}

  HRESULT Invoke(DISPID member, REFIID reserved, LCID, WORD, DISPPARAMS* arguments, VARIANT*, EXCEPINFO*,
                 UINT* bad_argument) override {{
    if (reserved != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
    switch (member) {{
{cases}
      default:
        return DISP_E_MEMBERNOTFOUND;
    }}
  }}

 private:
{names}
}};
"""


def _case(name: str, event: Event) -> str:
    return (f"      case {event.dispid}:\n"
            f"        return deliver(*this, &{name}::{event.name}, arguments, bad_argument);")


def _handler(event: Event) -> str:
    parameters = [f"{cpp_type(value.type)} /*{value.name}*/" for value in event.values]
    return comment(event.doc, "  ") + comment(units_note(event.values), "  ") + wrapped(f"  virtual void {event.name}(", parameters, ") {}")


def write_numbers(schema: Schema) -> str:
    body = "\n\n".join(
        f"namespace {side}_event {{\n" +
        "".join(f"inline constexpr int {event.name} = {event.dispid};\n" for event in events.values()) +
        f"}}  // namespace {side}_event"
        for side, events in (("async", schema.async_events), ("sync", schema.sync_events)))
    return header("The identifiers of events, for code that fires one by name.", [], body, "kestrine::protocol")
