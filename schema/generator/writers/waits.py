"""src/sync/wait_rows.h"""

from ..model.schema import Schema
from ..model.waits import WaitClass
from .text import header, literal


def write(schema: Schema) -> str:
    rows = "".join(f"    {_row(wait)},\n" for wait in schema.waits)
    again = sum(wait.increased > 0 for wait in schema.waits)
    body = f"""struct WaitRow {{
  std::u16string_view key;
  std::int32_t ordinary;   // milliseconds
  std::int32_t increased;  // 0: never read again
}};

// In the order of reading, which is that of commands::WaitClass behind kNone.
inline constexpr WaitRow kWaitRows[] = {{
{rows}}};

// The first ones, which are read again when timeouts are increased.
inline constexpr std::size_t kReadAgain = {again};"""
    return header("How long each class of waiting takes, and the key that sets it.",
                  ["<cstddef>", "<cstdint>", "<string_view>"], body, "kestrine::sync")


def _row(wait: WaitClass) -> str:
    return f"{{{literal(wait.key, 'u')}, {wait.ordinary}, {wait.increased}}}"
