"""How values of the library's types become values of Python's."""

from dataclasses import fields, is_dataclass
from enum import IntEnum

from . import enumerations, records


def _converters():
    found = {name: dict(enum._value2member_map_) for name, enum in vars(enumerations).items()
             if isinstance(enum, type) and enum is not IntEnum}
    # A record comes after those that it consists of.
    for name, record in vars(records).items():
        if isinstance(record, type) and is_dataclass(record):
            found[name] = (record, {field.name: _of_field(field.type, found) for field in fields(record)})
    return found


def _of_field(kind, found):
    return bool if kind is bool else found.get(kind.__name__)


CONVERTERS = _converters()
