"""How members of interfaces and their parameters are declared in C++."""

from itertools import groupby
from textwrap import fill

from ..model.interfaces import Member, Parameter
from ..model.quantities import unit_of
from ..model.values import Value
from .text import WIDTH

_IN = {"long": "std::int32_t", "double": "double", "bool": "VARIANT_BOOL", "text": "BSTR", "variant": "VARIANT",
       "bytes": "VARIANT*", "unknown": "IUnknown*"}


def cpp_type(kind: str) -> str:
    """The C++ type of a value; enumerations and records go by their own names."""
    return _IN.get(kind, kind)


def declaration(parameter: Parameter) -> str:
    return f"{cpp_type(parameter.type)}{'*' if parameter.out else ''} {parameter.name}"


def signature(member: Member) -> tuple[str, list[str]]:
    return f"HRESULT {member.slot_name}(", [declaration(parameter) for parameter in member.parameters]


UNITS = """Lengths, angles, temperatures and pressures are in the units that are set (SetUnits), humidities in percent,
// coordinates in the coordinate system that is set, deviations and covariances in the units of their coordinates."""


def units_note(values: list[Parameter] | list[Value]) -> str:
    """ "val1..val3: coordinate; time: ms", for what the names do not say."""
    notes: dict[str, list[str]] = {}
    for unit, run in groupby(values, lambda value: unit_of(value.quantity, value.name)):
        names = [value.name for value in run]
        notes.setdefault(unit, []).extend([f"{names[0]}..{names[-1]}"] if len(names) > 2 else names)
    return "; ".join(f"{', '.join(names)}: {unit}" for unit, names in notes.items() if unit)


def comment(text: str, indent: str) -> str:
    """Lines of a comment; nothing for no text."""
    start = f"{indent}// "
    lines = fill(text, WIDTH, initial_indent=start, subsequent_indent=start, break_long_words=False)
    return f"{lines}\n" if lines else ""
