"""include/kestrine/interfaces.h"""

from ..model.library import Identifier
from ..model.interfaces import Member
from ..model.methods import Method
from ..model.schema import Schema
from .members import UNITS, comment, signature, units_note
from .text import header, wrapped

_COMMENT = """The interfaces of the library and the identifiers of its classes. Every operation returns a status code:
// S_OK, S_FALSE for a warning, or a failure that the thread's error information describes. In texts and records stay
// the caller's, out texts and arrays become the caller's.
//
// """ + UNITS
_SYNC_COMMENT = """\
// The blocking command set. Every operation sends one command and waits for its answer, for as long as the setting
// that is named with it, "+ measure time" where the stationary measure time is added; meanwhile the thread's messages
// are handled. Outputs are those of the answer, whatever the status, unless something else is said: look at the
// returned status first. Flags handed out are the low 16 bits of the server's own."""
_ASYNC_COMMENT = """\
// The command set that never waits. Every operation sends one command and returns; its answer becomes the event that is
// named with it, or ErrorEvent where the status is bad. Measurements are told by events of their own. Refused while a
// synchronous call of the process waits for its answer. Values out of range are the server's to refuse."""
_CONNECT_COMMENT = """// The connection to the server. The member number is the dispatch identifier."""


def write(schema: Schema) -> str:
    keys = {wait.name: wait.key for wait in schema.waits}
    parts = [_identifier(identifier) for identifier in schema.identifiers]
    parts += ["", _interfaces("ILTConnect", _CONNECT_COMMENT, [(each, each.doc) for each in schema.connect_members]),
              _interfaces("ILTCommandSync", _SYNC_COMMENT,
                          [(each, sync_doc(each, keys)) for each in schema.sync_methods]),
              _interfaces("ILTCommandAsync", _ASYNC_COMMENT, _async_docs(schema)), "namespace kestrine {\n"]
    parts += [f"template <>\nstruct InterfaceId<{name}> {{\n"
              f"  static constexpr const IID& value = IID_{name};\n}};\n"
              for first in ("ILTConnect", "ILTCommandSync", "ILTCommandAsync") for name in (first, f"{first}2")]
    parts += ["}  // namespace kestrine"]
    includes = ["<cstdint>", "", '"kestrine/component.h"', '"kestrine/enums.h"', '"kestrine/interface_id.h"',
                '"kestrine/records.h"']
    return header(_COMMENT, includes, "\n".join(parts))


def _identifier(identifier: Identifier) -> str:
    value = identifier.value
    tail = ", ".join(f"0x{byte:02X}" for byte in value.bytes[8:])
    return (f"inline constexpr GUID {identifier.constant}"
            f"{{0x{value.time_low:08X}, 0x{value.time_mid:04X}, 0x{value.time_hi_version:04X}, {{{tail}}}}};")


def _interfaces(name: str, comment: str, members: list[tuple[Member, str]]) -> str:
    """Both generations: the second one is told by the first."""
    dual = "\n".join(_slot(member, "") for member, _ in members)
    return _interface(name, comment, "IUnknown", "\n".join(_slot(*member) for member in members)) + "\n" + \
        _interface(f"{name}2", f"// {name} for callers by name as well.", "IDispatch", dual)


def _interface(name: str, comment: str, base: str, slots: str) -> str:
    return f"{comment}\nstruct {name} : {base} {{\n{slots}\n\n protected:\n  ~{name}() = default;\n}};\n"


def _slot(member: Member, doc: str) -> str:
    start, parameters = signature(member)
    declared = wrapped(f"  virtual {start}", parameters, ") = 0;")
    return f"  // {member.dispid}. {doc}\n{comment(units_note(member.parameters), '  ')}{declared}" if doc else declared


def sync_doc(member: Method, keys: dict[str, str]) -> str:
    parts = []
    if member.command:
        wait = keys.get(member.wait, "sends only; the items arrive as events")
        parts += [f'"{member.command.text}" ({member.command.code}); {wait}'
                  + (" + measure time." if member.adds_measure_time else ".")]
    parts += {"measurement": ["Outputs are those of the result packet."],
              "tiltra": ["Outputs are those of the inclination sensor's packet."]}.get(member.source, [])
    return "\n  // ".join(parts + ([member.doc] if member.doc else []))


def _async_docs(schema: Schema) -> list[tuple[Method, str]]:
    events = {answer.command.name: answer.async_event.name if answer.async_event else "CommandCompletedData"
              for answer in schema.answers}
    return [(each, f'"{each.command.text}" ({each.command.code}); {events[each.command.name]}.')
            for each in schema.async_methods]
