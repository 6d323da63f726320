#include "objects/version.h"

#include <algorithm>
#include <cstdlib>
#include <string>

#include "platform/version.h"

namespace kestrine::objects {

Version parse_version(std::u16string_view text) {
  std::string narrow;
  for (const char16_t unit : text) {
    if ((unit & 0xFF) == 0) break;
    narrow.push_back(static_cast<char>(unit & 0xFF));
  }
  std::int32_t numbers[3] = {};
  std::size_t at = 0;
  for (std::int32_t& number : numbers) {
    // Neighbouring commas count as one.
    at = narrow.find_first_not_of(',', at);
    if (at == std::string::npos) break;
    number = static_cast<std::int32_t>(std::strtol(narrow.c_str() + at, nullptr, 10));
    at = narrow.find(',', at);
    if (at == std::string::npos) break;
  }
  return {numbers[0], numbers[1], numbers[2]};
}

Version library_version() {
  const auto text = platform::file_version_text();
  return text ? parse_version(*text) : Version{};
}

}  // namespace kestrine::objects
