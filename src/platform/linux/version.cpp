#include "platform/version.h"

#include "platform/library_version.h"

namespace kestrine::platform {

// Where the system has no version resources, the text that one would hold is carried as it is.
std::optional<std::u16string_view> file_version_text() {
  return kFileVersion;
}

bool is_legacy_non_unicode_system() {
  return false;
}

}  // namespace kestrine::platform
