"""How values and members are declared and described in Python."""

from itertools import groupby

from ..model.events import Event
from ..model.interfaces import Member, Parameter
from ..model.methods import Method
from ..model.quantities import unit_of
from ..model.schema import Schema
from ..model.values import Value

TYPES = {"long": "int", "int32": "int", "bool32": "bool", "double": "float", "bool": "bool", "text": "str",
         "text32": "str", "text128": "str", "byte": "bytes", "variant": "bytes", "bytes": "bytes"}
_NO_VALUES = "CommandCompletedData"


def outputs_of(member: Member) -> list[Parameter]:
    return [parameter for parameter in member.parameters if parameter.out]


def inputs_of(member: Member) -> list[Parameter]:
    return [parameter for parameter in member.parameters if not parameter.out]


def methods_with_result(schema: Schema) -> list[Member]:
    """Those whose outputs are a named tuple."""
    members = [*schema.connect_members, *schema.sync_methods]
    return [member for member in members if len(outputs_of(member)) > 1]


def events(schema: Schema) -> dict[str, Event]:
    """Of both sides, the asynchronous one has all. Where a value has two names, it goes by the synchronous one."""
    return schema.async_events | schema.sync_events


def python_type(schema: Schema, kind: str) -> str:
    known = TYPES.get(kind) or (kind if kind in schema.enums else None)
    return known or ("Any" if kind == "unknown" else f"records.{kind}")


def declared(schema: Schema, values: list) -> str:
    """What a function takes behind self."""
    def kind(value) -> str:
        return "Buffer" if value.type in ("bytes", "variant") else python_type(schema, value.type)
    return "".join(f", {value.name}: {kind(value)}" for value in values)


def returned(schema: Schema, member: Member) -> str:
    """The type of what a member returns that waits."""
    outputs = outputs_of(member)
    if len(outputs) > 1:
        return f"results.{member.name}Result"
    return python_type(schema, outputs[0].type) if outputs else "None"


def series_event(schema: Schema, method: Method) -> Event | None:
    """Of a command whose answer comes item by item: the event of each."""
    command = method.command.name if method.command else ""
    answer = next((each for each in schema.answers if each.command.name == command), None)
    return events(schema)[answer.sync_event.name] if answer and answer.command.series else None


def awaited(schema: Schema, method: Method) -> str:
    """The type of what an awaited command returns."""
    event = events(schema)[method.ends[0]]
    if event.name == _NO_VALUES:
        return "None"
    if method.command.series:
        return f"list[results.{event.name}]"
    return f"results.{event.name}" if len(event.values) > 1 else python_type(schema, event.values[0].type)


def described(schema: Schema, values: list[Parameter] | list[Value]) -> list[str]:
    """One line for all neighbours of a type and unit: "val1..val3: float, coordinate"."""
    lines = []
    for (kind, unit), run in groupby(values, lambda value: (value.type, unit_of(value.quantity, value.name))):
        names = [value.name for value in run]
        name = f"{names[0]}..{names[-1]}" if len(names) > 2 else ", ".join(names)
        lines.append(f"{name}: {python_type(schema, kind)}" + (f", {unit}" if unit else ""))
    return lines


def _section(title: str, lines: list[str]) -> list[str]:
    return [title, *(f"    {line}" for line in lines)] if lines else []


def _head(member: Member) -> list[str]:
    command = getattr(member, "command", None)
    return ([f"{command.text} (command {command.code})."] if command else []) + ([member.doc] if member.doc else [])


def _joined(lines: list[str]) -> str:
    """The first line stands alone, as tools that show a summary want it."""
    return "\n".join(lines[:1] + [""] * (len(lines) > 1) + lines[1:])


def _taken(schema: Schema, member: Member) -> list[str]:
    mode = getattr(member, "mode", "")
    return _section("Takes", described(schema, inputs_of(member))) + \
        ([f"The measurement mode must be one for {mode} measurements."] if mode else [])


def _given(schema: Schema, name: str, values: list) -> list[str]:
    return _section(f"Returns {name}" if len(values) > 1 else "Returns", described(schema, values))


def _waits(schema: Schema, method: Method, is_set: bool = True) -> str:
    found = next((each for each in schema.waits if each.name == method.wait), schema.waits[0])
    time = f"{found.ordinary // 1000} s" + (" + the stationary measure time" if method.adds_measure_time else "")
    setting = f" (setting {found.key})" if is_set and not method.sends_only else ""
    return f"Raises com_error when it is refused, and when it is not answered in {time}{setting}."


def waiting_doc(schema: Schema, member: Member, lists: bool = False) -> str:
    """Of a member that returns its outputs; of a series all its items, where the caller gets a list."""
    lines = _head(member) + _taken(schema, member) + _given(schema, f"{member.name}Result", outputs_of(member))
    if isinstance(member, Method) and member.kind == "method":
        item = series_event(schema, member)
        if item and lists:
            lines += _section(f"Returns a list of {item.name}", described(schema, item.values))
        elif item:
            lines += [f"Each item comes with an event {item.name}."]
        if lists or not member.sends_only:
            lines += [_waits(schema, member)]
    return _joined(lines)


def sending_doc(schema: Schema, method: Method) -> str:
    return _joined(_head(method) + _taken(schema, method) + [f"Ends with the event {' or '.join(method.ends)}."])


def awaiting_doc(schema: Schema, method: Method) -> str:
    event = events(schema)[method.ends[0]]
    given = [] if event.name == _NO_VALUES else _given(schema, event.name, event.values)
    if given and method.command.series:
        given[0] = f"Returns a list of {event.name}"
    others = [f"In other measurement modes {', '.join(method.ends[1:])}."] if len(method.ends) > 1 else []
    return _joined(_head(method) + _taken(schema, method) + given + others + [_waits(schema, method, False)])


def docstring(text: str, indent: str) -> str:
    """As it stands below a head, with its quotation marks."""
    lines = text.splitlines()
    closing = f"\n{indent}" if len(lines) > 1 else ""
    return f'{indent}"""' + "\n".join(f"{indent}{line}".rstrip() for line in lines).lstrip() + f'{closing}"""'
