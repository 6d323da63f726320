"""src/events/event_rows.h, src/events/event_rows.cpp and include/kestrine/events.h"""

from ..model.events import Answer, Event
from ..model.schema import Schema
from ..model.values import Value
from .members import UNITS, comment, cpp_type, units_note
from .text import array, flag, header, literal, source, wrapped

_SINKS_COMMENT = """Typed sinks: derive from one, override what you want to hear of, and subscribe it (subscription.h).
//
// """ + UNITS
_TYPES = {"long": "kLong", "double": "kDouble", "bool": "kBool", "text": "kText"}


def write_header(schema: Schema) -> str:
    body = f"""// An enumeration counts as a long.
enum class ArgType : std::uint8_t {{ kLong, kDouble, kBool, kText }};

inline constexpr std::uint16_t kFromNoPacket = 0xFFFF;

struct Argument {{
  const char* name;
  const char* type_name;
  ArgType type;
  std::uint16_t offset;  // in the packet that the event is fired from, or kFromNoPacket
  std::uint16_t units;   // texts only, else 0
}};

struct EventRow {{
  std::int32_t dispid;
  const char* name;
  std::span<const Argument> arguments;
}};

// What the answer to a command fires.
struct AnswerRow {{
  std::int32_t command;
  bool completion;               // without data: CommandCompletedData or ErrorEvent
  const EventRow* async_event;   // null for completion
  const EventRow* async_event2;  // a second event with the same arguments, else null
  const EventRow* sync_event;    // a series' event, else null
  bool status_tested;
  bool status_tested_twice;      // once for either of two events
}};

// In the order of their identifiers, which begin with 1.
std::span<const EventRow> async_events();
std::span<const EventRow> sync_events();
const AnswerRow* find_answer(std::int32_t command);  // null for a code that is no command

// Identifiers, for code that fires an event by name.
namespace async_event {{
{_identifiers(schema.async_events)}}}  // namespace async_event
namespace sync_event {{
{_identifiers(schema.sync_events)}}}  // namespace sync_event"""
    return header("The events as rows, and which of them an answer fires.", ["<cstdint>", "<span>"], body,
                  "kestrine::events")


def _identifiers(events: dict[str, Event]) -> str:
    return "".join(f"inline constexpr int {event.name} = {event.dispid};\n" for event in events.values())


def write_rows(schema: Schema) -> str:
    parts = []
    for prefix, events in (("Async", schema.async_events), ("Sync", schema.sync_events)):
        parts += [array("Argument", f"k{prefix}_{event.name}", [_argument(value) for value in event.values])
                  for event in events.values()]
        parts += [array("EventRow", f"k{prefix}Events", [
            f"{{{event.dispid}, {literal(event.name)}, k{prefix}_{event.name}}}" for event in events.values()])]
    parts += [array("AnswerRow", "kAnswers", [_answer(answer) for answer in schema.answers])]
    body = "namespace {\n\n" + "\n".join(parts) + """
}  // namespace

std::span<const EventRow> async_events() { return kAsyncEvents; }

std::span<const EventRow> sync_events() { return kSyncEvents; }

const AnswerRow* find_answer(std::int32_t command) {
  const auto* found = std::ranges::lower_bound(kAnswers, command, {}, &AnswerRow::command);
  return found != std::end(kAnswers) && found->command == command ? found : nullptr;
}"""
    return source("The events as rows, and which of them an answer fires.",
                  ['"events/event_rows.h"', "", "<algorithm>", "<iterator>"], body, "kestrine::events")


def _argument(value: Value) -> str:
    offset = value.leaf.offset if value.leaf else "kFromNoPacket"
    units = value.leaf.units if value.leaf else 0
    kind = _TYPES.get(value.type, "kLong")
    return f"{{{literal(value.name)}, {literal(value.type)}, ArgType::{kind}, {offset}, {units}}}"


def _answer(answer: Answer) -> str:
    def row(prefix: str, event: Event | None) -> str:
        return f"&k{prefix}Events[{event.dispid - 1}]" if event else "nullptr"
    return (f"{{{answer.command.code}, {flag(answer.async_event is None)}, {row('Async', answer.async_event)}, "
            f"{row('Async', answer.second_event)}, {row('Sync', answer.sync_event)}, {flag(answer.tested)}, "
            f"{flag(answer.tested_twice)}}}")


def write_sinks(schema: Schema) -> str:
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
    return comment(units_note(event.values), "  ") + wrapped(f"  virtual void {event.name}(", parameters, ") {}")
