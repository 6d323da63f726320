// The texts as the schema has them; texts.h has the rules by which they are chosen.
#pragma once

#include <cstdint>
#include <span>

namespace kestrine::protocol {

struct TextRow {
  std::int32_t number;
  const char16_t* text;
};

// Both in ascending order of their numbers.
std::span<const TextRow> status_texts();
std::span<const TextRow> string_table();

}  // namespace kestrine::protocol
