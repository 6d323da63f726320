#include "platform/version.h"

namespace kestrine::platform {
namespace {

// Where the system has no version resources, the text that one would hold is carried as it is.
constexpr std::u16string_view kFileVersion = u"3, 8, 680, 28";

}  // namespace

std::optional<std::u16string_view> file_version_text() {
  return kFileVersion;
}

bool is_legacy_non_unicode_system() {
  return false;
}

}  // namespace kestrine::platform
