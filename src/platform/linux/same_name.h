// Names in text files, found without regard to case.
#pragma once

#include <algorithm>
#include <string_view>

namespace kestrine::platform {

inline constexpr std::string_view kBlanks = " \t\r\n";

inline std::string_view trim(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// Of letters only those of ASCII have a case here.
inline bool same_name(std::string_view a, std::string_view b) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
  return std::ranges::equal(a, b, {}, lower, lower);
}

}  // namespace kestrine::platform
