"""include/kestrine/enums.h"""

from ..model.enums import Enum
from ..model.schema import Schema
from .text import header


_COMMENT = """The enumerations of the protocol and of the library. All travel as 32-bit signed integers, and a
// value that is not listed is passed on as it is."""


def write(schema: Schema) -> str:
    body = "\n\n".join(_enum(enum) for enum in schema.enums.values())
    return header(_COMMENT, ["<cstdint>"], body)


def _enum(enum: Enum) -> str:
    values = "".join(f"  {value.name} = {value.value},\n" for value in enum.values)
    doc = f"// {enum.doc}\n" if enum.doc else ""
    return f"{doc}enum {enum.name} : std::int32_t {{\n{values}}};"
