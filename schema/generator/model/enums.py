"""Enumerations and their values."""

from dataclasses import dataclass

from ..errors import Where, require
from ..source import Source
from .names import Scope


@dataclass(frozen=True)
class EnumValue:
    value: int
    name: str
    text: str | None  # result statuses only; a second name of a status has none
    where: Where
    warning: int | None = None  # result statuses that are warnings: the text row that says so


@dataclass(frozen=True)
class Enum:
    name: str
    doc: str
    values: list[EnumValue]


# Other parts of the schema refer to these.
_KNOWN_BY_NAME = ("VL_DataType", "VL_ResultStatus")


def load_enums(source: Source, global_names: Scope) -> dict[str, Enum]:
    enums = {}
    for table in source.tables("enum"):
        table.allow(("name", "doc", "values"))
        name = table.take("name", str)
        global_names.claim_name(name, table.where)
        values = []
        for row in table.rows("values", (int, str), (int, str, str), (int, str, str, int)):
            text, warning = [*row[2:], None, None][:2]
            values.append(EnumValue(row[0], row[1], text, row.where, warning))
        require(bool(values), table.where, f"{name} has no values")
        enums[name] = Enum(name, table.take("doc", str, ""), values)
    for name in _KNOWN_BY_NAME:
        require(name in enums, Where("schema", 1), f"the enumeration {name} is missing")
    return enums


def check_values(enums: dict[str, Enum], global_names: Scope) -> None:
    """The enumerations are unscoped, so the names of their values share one scope with everything else."""
    for enum in enums.values():
        texts = Scope(f"the text of {enum.name} value")
        for value in enum.values:
            global_names.claim_name(value.name, value.where)
            require(-(2**31) <= value.value < 2**31, value.where, f"{value.value} does not fit 32 bits")
            if value.text is not None:
                texts.claim(value.value, value.where)
