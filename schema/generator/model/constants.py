"""The values of KR_Constant."""

import re
from dataclasses import dataclass

from ..errors import require
from ..source import Source
from .enums import Enum, EnumValue

_DECIMAL = r"\d+\.\d+(?:e\d+)?"
_VALUE = re.compile(rf"{_DECIMAL}(?: / (?:{_DECIMAL}|pi))?")


@dataclass(frozen=True)
class Constant:
    name: EnumValue
    expression: str


def load_constants(source: Source, enum: Enum | None) -> list[Constant]:
    names = {value.name: value for value in enum.values} if enum else {}
    constants = []
    for row in source.rows("constants", (str, str)):
        require(row[0] in names, row.where, f"{row[0]} is no constant, or has its value already")
        require(bool(_VALUE.fullmatch(row[1])), row.where, f"{row[1]} is no decimal and no quotient")
        constants.append(Constant(names.pop(row[0]), row[1]))
    for left in names.values():
        require(False, left.where, f"{left.name} has no value")
    return constants
