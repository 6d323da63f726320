// The library's version numbers, taken out of the version text that it carries.
#pragma once

#include <cstdint>
#include <string_view>

namespace kestrine::objects {

struct Version {
  std::int32_t major = 0;
  std::int32_t minor = 0;
  std::int32_t build = 0;

  // Major number in the high half, minor in the low one.
  std::int32_t packed() const { return ((major & 0xFFFF) << 16) | (minor & 0xFFFF); }
};

// Of each unit the low byte counts, and the text ends at the first that is 0. Splits at commas, blanks before a number
// skipped; missing pieces are 0. A fourth number is allowed and dropped.
Version parse_version(std::u16string_view text);
// All zero when the library carries no version text.
Version library_version();

}  // namespace kestrine::objects
