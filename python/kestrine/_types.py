"""The library's enumerations and records: all values by name, and how values become values of Python's."""

from dataclasses import fields, is_dataclass
from enum import IntEnum

from . import enumerations, records

_ENUMS = {name: enum for name, enum in vars(enumerations).items() if isinstance(enum, type) and enum is not IntEnum}


class _Constants:
    """Values of enumerations by name, as constants.VL_CS_RHR."""

    def __init__(self):
        for enum in _ENUMS.values():
            self.__dict__.update(enum.__members__)

    def __getattr__(self, name: str) -> IntEnum:
        raise AttributeError(f"no enumeration has a value {name}")


def _converters():
    found = {name: dict(enum._value2member_map_) for name, enum in _ENUMS.items()}
    # A record comes after those that it consists of.
    for name, record in vars(records).items():
        if isinstance(record, type) and is_dataclass(record):
            found[name] = (record, {field.name: _of_field(field.type, found) for field in fields(record)})
    return found


def _of_field(kind, found):
    return bool if kind is bool else found.get(kind.__name__)


constants = _Constants()
CONVERTERS = _converters()
