// The texts as the schema has them; texts.h has the rules by which they are chosen.
#pragma once

#include <cstdint>
#include <span>

namespace kestrine::protocol {

struct TextRow {
  std::int32_t number;
  const char16_t* text;
};

struct WarningRow {
  std::int32_t status;
  std::int32_t text_row;
};

// All in ascending order of their numbers.
std::span<const TextRow> status_texts();
std::span<const TextRow> string_table();
std::span<const WarningRow> warnings();

}  // namespace kestrine::protocol
