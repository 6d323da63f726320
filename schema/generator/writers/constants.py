"""src/data/constant_rows.h"""

from ..model.constants import Constant
from ..model.schema import Schema
from .text import header


def write(schema: Schema) -> str:
    rows = "".join(f"    {_row(constant)},\n" for constant in schema.constants)
    body = f"""struct ConstantRow {{
  KR_Constant constant;
  double value;
}};

inline constexpr ConstantRow kConstantRows[] = {{
{rows}}};"""
    return header("The values of the constants that the library hands out. Quotients are divided as doubles.",
                  ["<numbers>", "", '"kestrine/enums.h"'], body, "kestrine::data")


def _row(constant: Constant) -> str:
    return f"{{{constant.name.name}, {constant.expression.replace('pi', 'std::numbers::pi')}}}"
