#include "platform/profile.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <string>
#include <system_error>

#include "platform/linux/profile_text.h"
#include "platform/linux/text_file.h"
#include "platform/linux/utf8.h"

namespace kestrine::platform {
namespace {

using std::filesystem::path;

path profile_directory() {
  if (const char* directory = std::getenv("KESTRINE_PROFILE_DIR"); directory != nullptr && *directory != '\0') {
    return directory;
  }
  if (const path config = path_from_environment("XDG_CONFIG_HOME"); !config.empty()) return config / "kestrine";
  if (const path home = path_from_environment("HOME"); !home.empty()) return home / ".config" / "kestrine";
  return {};
}

// Empty when there is no place for the file.
path profile_path(std::u16string_view file) {
  const std::string name = to_utf8(file);
  if (name.empty() || name.find('/') != std::string::npos) return name;
  const path directory = profile_directory();
  return directory.empty() ? path() : directory / name;
}

// Where the file lies, with links followed: the file behind a link is to be replaced, not the link. Empty when there
// is no such place.
path target_of(std::u16string_view file) {
  const path named = profile_path(file);
  if (!named.has_filename()) return {};
  std::error_code failed;
  path target = std::filesystem::weakly_canonical(std::filesystem::current_path(failed) / named, failed);
  return failed ? path() : target;
}

std::int32_t leading_integer(std::string_view text) {
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max();
  std::int64_t number = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') break;
    number = std::min(number * 10 + (c - '0'), negative ? kMost + 1 : kMost);
  }
  return static_cast<std::int32_t>(negative ? -number : number);
}

}  // namespace

std::int32_t profile_int(std::u16string_view section, std::u16string_view key, std::int32_t default_value,
                         std::u16string_view file) {
  const auto content = read_text_file(profile_path(file));
  if (!content) return default_value;
  const auto value = find_profile_value(content->text, to_utf8(section), to_utf8(key));
  return value ? leading_integer(*value) : default_value;
}

bool write_profile_string(std::u16string_view section, std::u16string_view key, std::u16string_view value,
                          std::u16string_view file) {
  // Such texts would come back as other lines than they went in.
  if (section.find_first_of(u"]\r\n") != section.npos || key.find_first_of(u"[=\r\n") != key.npos ||
      value.find_first_of(u"\r\n") != value.npos) {
    return false;
  }
  const path target = target_of(file);
  if (target.empty()) return false;
  std::error_code ignored;  // what matters is whether the directory can be opened
  std::filesystem::create_directories(target.parent_path(), ignored);
  const DirectoryLock lock(target.parent_path());
  if (!lock.held()) return false;
  auto content = read_text_file(target);
  if (!content) return false;
  content->text = set_profile_value(content->text, to_utf8(section), to_utf8(key), to_utf8(value));
  // Not synced: after a power failure the settings may be the old ones, and a line of trace in the receive path is not
  // worth a wait for the disk.
  return replace_text_file(target, *content, false);
}

}  // namespace kestrine::platform
