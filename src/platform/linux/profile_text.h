// The text of a profile file, read and edited without a file.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kestrine::platform {

// The value at the key, without the blanks around it; none when the section or the key is missing. Of sections or
// keys that appear twice the first counts.
std::optional<std::string_view> find_profile_value(std::string_view text, std::string_view section,
                                                   std::string_view key);
// The text with the key set to the value and every other line as it was.
std::string set_profile_value(std::string_view text, std::string_view section, std::string_view key,
                              std::string_view value);

}  // namespace kestrine::platform
