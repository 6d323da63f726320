"""include/kestrine/enums.h"""

from ..model.enums import Enum
from ..model.schema import Schema
from .text import header


_COMMENT = """The enumerations of the protocol and of the library. All travel as 32-bit signed integers, and a
// value that is not listed is passed on as it is."""


def write(schema: Schema) -> str:
    body = "\n\n".join(_enum(enum) for enum in schema.enums.values())
    return header(_COMMENT, ["<cstdint>"], f"{body}\n\n{_warnings(schema)}")


def _warnings(schema: Schema) -> str:
    cases = "".join(f"    case {value.name}:\n" for value in schema.enums["VL_ResultStatus"].values
                    if value.warning is not None)
    return f"""namespace kestrine {{

// Whether the server has done what it was asked for all the same.
constexpr bool is_warning(std::int32_t status) {{
  switch (status) {{
{cases}      return true;
    default:
      return false;
  }}
}}

}}  // namespace kestrine"""


def _enum(enum: Enum) -> str:
    values = "".join(f"  {value.name} = {value.value},\n" for value in enum.values)
    doc = f"// {enum.doc}\n" if enum.doc else ""
    return f"{doc}enum {enum.name} : std::int32_t {{\n{values}}};"
