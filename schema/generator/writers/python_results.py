"""results.pyi: the named tuples of the Python package, and what the package makes them from."""

from ..model.quantities import unit_of
from ..model.schema import Schema
from .python_values import events, methods_with_result, outputs_of, python_type


def write(schema: Schema) -> str:
    parts = ["from typing import NamedTuple\n\nfrom . import records\nfrom .enumerations import *"]
    parts += [_tuple(schema, f"{each.name}Result", outputs_of(each)) for each in methods_with_result(schema)]
    parts += [_tuple(schema, event.name, event.values) for event in events(schema).values()]
    return "\n\n\n".join(parts) + "\n"


def _tuple(schema: Schema, name: str, values: list) -> str:
    rows = []
    for value in values:
        unit = unit_of(value.quantity, value.name)
        rows.append(f"    {value.name}: {python_type(schema, value.type)}" + (f"  # {unit}" if unit else ""))
    return f"class {name}(NamedTuple):\n" + "\n".join(rows)


def tables(schema: Schema) -> str:
    results = "".join(f"    {f'{each.name}Result'!r}: {_names(outputs_of(each))!r},\n"
                      for each in methods_with_result(schema))
    heard = "".join(f"    {event.name!r}: {_names(event.values)!r},\n" for event in events(schema).values())
    return ("# The values of what methods with several outputs return, and of events.\n"
            f"RESULTS = {{\n{results}}}\nEVENTS = {{\n{heard}}}\n\n")


def _names(values: list) -> str:
    return " ".join(value.name for value in values)
