"""src/protocol/errors.h"""

from ..model.schema import Schema
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
