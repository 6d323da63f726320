"""src/protocol/errors.h, include/kestrine/error_numbers.h and python/kestrine/errors.py"""

import re

from ..model.schema import Schema
from ..model.texts import Error
from .text import header


def write(schema: Schema) -> str:
    texts = "".join(f"inline constexpr std::int32_t k{text.name} = {text.row};\n" for text in schema.texts if text.name)
    errors = "".join(f"inline constexpr Error k{error.name}{{{error.number}, {error.row}}};\n"
                     for error in schema.errors)
    body = f"""// The number goes to ExceptionEvent; the row of the string table says what happened, 0 where the text is
// put together at run time.
struct Error {{
  std::int32_t number;
  std::int32_t row;
}};

namespace error {{
{errors}}}  // namespace error

// Rows of the string table that are asked for by themselves.
namespace text_row {{
{texts}}}  // namespace text_row"""
    return header("The library's own failures. A failure that the server answered with has the status as its number.",
                  ["<cstdint>"], body, "kestrine::protocol")


_MEANING = "What the library's own failures have as their number; those of the server have its status (VL_ResultStatus)."


def write_numbers(schema: Schema) -> str:
    rows = "".join(f"{_lines(schema, error, '// ')}inline constexpr std::int32_t k{error.name} = {error.number};\n"
                   for error in schema.errors)
    return header(_MEANING, ["<cstdint>"], rows, "kestrine::error_number")


def write_python_numbers(schema: Schema) -> str:
    rows = "".join(f"{_lines(schema, error, '# ')}{constant_name(error.name)}: Final = {error.number}\n"
                   for error in schema.errors)
    return f'"""{_MEANING}"""\n\nfrom typing import Final\n\n{rows}'


def _lines(schema: Schema, error: Error, mark: str) -> str:
    text = next((row.text for row in schema.texts if row.row == error.row), "")
    return "".join(f"{mark}{line}\n" for line in text.splitlines())


def constant_name(name: str) -> str:
    """HOST_NOT_FOUND of HostNotFound."""
    return re.sub(r"(?<=[a-z])(?=[A-Z])", "_", name).upper()
