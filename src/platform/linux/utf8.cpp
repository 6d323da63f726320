#include "platform/linux/utf8.h"

#include <cstddef>

namespace kestrine::platform {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool is_high_surrogate(char16_t unit) {
  return (unit & 0xFC00) == 0xD800;
}
bool is_low_surrogate(char16_t unit) {
  return (unit & 0xFC00) == 0xDC00;
}

void append(std::string& out, char32_t c) {
  const auto continuation = [&](int shift) { out += static_cast<char>(0x80 | ((c >> shift) & 0x3F)); };
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    continuation(0);
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | (c >> 12));
    continuation(6);
    continuation(0);
  } else {
    out += static_cast<char>(0xF0 | (c >> 18));
    continuation(12);
    continuation(6);
    continuation(0);
  }
}

}  // namespace

std::string to_utf8(std::u16string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char16_t unit = text[i];
    if (is_high_surrogate(unit) && i + 1 < text.size() && is_low_surrogate(text[i + 1])) {
      append(out, 0x10000 + ((static_cast<char32_t>(unit) & 0x3FF) << 10) + (text[++i] & 0x3FF));
    } else {
      append(out, is_high_surrogate(unit) || is_low_surrogate(unit) ? kReplacement : unit);
    }
  }
  return out;
}

}  // namespace kestrine::platform
