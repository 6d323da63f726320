"""src/dispatch/event_proxies.h"""

from ..model.events import Event
from ..model.schema import Schema
from .members import cpp_type
from .text import header, wrapped


def write(schema: Schema) -> str:
    body = _proxy("Sync", schema.sync_events) + "\n" + _proxy("Async", schema.async_events)
    return header("One firing operation for each event, for whoever does not fire it from a packet.",
                  ["<cstdint>", "", '"dispatch/event_source.h"', '"kestrine/enums.h"'], body, "kestrine::dispatch")


def _proxy(kind: str, events: dict[str, Event]) -> str:
    name = f"CProxy_ILTCommand{kind}Events"
    return f"""// The event source of either generation's {kind.lower()}hronous command object.
class {name} final : public EventSource {{
 public:
  using EventSource::EventSource;

{"".join(map(_operation, events.values()))}}};
"""


def _operation(event: Event) -> str:
    kinds = ["const char16_t*" if value.type == "text" else cpp_type(value.type) for value in event.values]
    parameters = [f"{kind} {value.name}" for kind, value in zip(kinds, event.values)]
    values = wrapped(f"    return fire({event.dispid}, {{", [value.name for value in event.values], "});")
    return wrapped(f"  HRESULT Fire_{event.name}(", parameters, ") {") + f"\n{values}\n  }}\n"
