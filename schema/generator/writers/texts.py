"""src/protocol/text_rows.cpp and src/protocol/errors.h"""

from ..model.schema import Schema
from .text import array, header, literal, source


def write_rows(schema: Schema) -> str:
    statuses = [(value.value, value.text) for value in schema.enums["VL_ResultStatus"].values if value.text is not None]
    rows = [(text.row, text.text) for text in schema.texts]
    warnings = [f"{{{status}, {row}}}" for status, row in sorted(schema.warnings.items())]
    body = f"""namespace {{

{_rows("kStatusTexts", statuses)}
{_rows("kStringTable", rows)}
{array("WarningRow", "kWarnings", warnings)}
}}  // namespace

std::span<const TextRow> status_texts() {{ return kStatusTexts; }}

std::span<const TextRow> string_table() {{ return kStringTable; }}

std::span<const WarningRow> warnings() {{ return kWarnings; }}
"""
    return source("The texts of statuses and of the string table.", ['"protocol/text_rows.h"'], body,
                  "kestrine::protocol")


def _rows(name: str, rows: list[tuple[int, str]]) -> str:
    lines = "".join(f"    {{{number}, {literal(text, 'u')}}},\n" for number, text in sorted(rows))
    return f"constexpr TextRow {name}[] = {{\n{lines}}};\n"


def write_errors(schema: Schema) -> str:
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
