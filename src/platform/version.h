// The version text that the library carries, and what the system says of itself.
#pragma once

#include <optional>
#include <string_view>

#include "kestrine/export.h"

namespace kestrine::platform {

// The file version of the library as written into it, such as "3, 8, 680, 28"; none when there is none.
KESTRINE_HOST_API std::optional<std::u16string_view> file_version_text();
// A system that knows no Unicode texts, which the library refuses to connect on. None of today's is one.
KESTRINE_HOST_API bool is_legacy_non_unicode_system();

}  // namespace kestrine::platform
