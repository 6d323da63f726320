// Profile files: sections of `key = value` lines.
//
// A bare file name lies in $KESTRINE_PROFILE_DIR, else in the user's configuration directory
// ($XDG_CONFIG_HOME/kestrine, or ~/.config/kestrine). Texts are UTF-8 in the file. Section and key are found
// without regard to case.
#pragma once

#include <cstdint>
#include <string_view>

#include "kestrine/export.h"

namespace kestrine::platform {

// The integer at the key: decimal, with a sign or not, up to the first character that is no digit (0 when
// there is none); the default when the file, the section or the key is missing.
KESTRINE_HOST_API std::int32_t profile_int(std::u16string_view section, std::u16string_view key,
                                           std::int32_t default_value, std::u16string_view file);
// Sets the key and keeps every other line as it stands. The file is replaced as a whole, so that a reader sees
// the old or the new one; writers of other processes wait for one another. False when it cannot be written, or when
// the texts would not read back as they are: line breaks, a section with ] or a key with [ or = in it, and blanks at
// the ends of either.
KESTRINE_HOST_API bool write_profile_string(std::u16string_view section, std::u16string_view key,
                                            std::u16string_view value, std::u16string_view file);

}  // namespace kestrine::platform
