#include "platform/profile.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#include "kestrine/text.h"
#include "platform/linux/text_file.h"

namespace kestrine::platform {
namespace {

using detail::same_name;
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

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
// Where things stand in the text: `value` and `value_end` when the key is there; `section_end`, behind the last line
// of the section that is not blank, when only the section is.
struct Place {
  std::size_t value = std::string_view::npos;
  std::size_t value_end = std::string_view::npos;
  std::size_t section_end = std::string_view::npos;
};

Place find_place(std::string_view text, std::string_view section, std::string_view key) {
  Place place;
  bool inside = false;
  std::size_t at = text.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0;
  while (at < text.size()) {
    const std::size_t next = std::min(text.find('\n', at), text.size() - 1) + 1;
    const std::string_view line = text.substr(at, next - at);
    const std::string_view content = trim(line);
    if (content.starts_with('[')) {
      if (inside) break;
      inside = same_name(trim(content.substr(1, std::min(content.find(']'), content.size()) - 1)), section);
    } else if (const std::size_t equals = line.find('='); inside && equals != std::string_view::npos) {
      if (same_name(trim(line.substr(0, equals)), key)) {
        const std::size_t end = line.find_last_not_of("\r\n") + 1;
        place.value = at + std::min(line.find_first_not_of(" \t", equals + 1), end);
        place.value_end = at + end;
        return place;
      }
    }
    if (inside && !content.empty()) place.section_end = next;
    at = next;
  }
  return place;
}

// The value at the key, without the blanks around it; none when the section or the key is missing. Of sections or
// keys that appear twice the first counts.
std::optional<std::string_view> find_value(std::string_view text, std::string_view section, std::string_view key) {
  const Place place = find_place(text, section, key);
  if (place.value == std::string_view::npos) return std::nullopt;
  return trim(text.substr(place.value, place.value_end - place.value));
}

// The text with the key set to the value and every other line as it was.
std::string set_value(std::string_view text, std::string_view section, std::string_view key, std::string_view value) {
  const Place place = find_place(text, section, key);
  std::string out(text);
  if (place.value != std::string_view::npos) {
    out.replace(place.value, place.value_end - place.value, value);
    return out;
  }
  const std::size_t first_end = text.find('\n');
  const bool returns = first_end != std::string_view::npos && first_end > 0 && text[first_end - 1] == '\r';
  const std::string line_end = returns ? "\r\n" : "\n";
  std::string lines;
  const std::size_t at = std::min(place.section_end, text.size());
  if (at > 0 && text[at - 1] != '\n' && text != kByteOrderMark) lines += line_end;
  if (place.section_end == std::string_view::npos) lines.append("[").append(section).append("]").append(line_end);
  lines.append(key).append("=").append(value).append(line_end);
  out.insert(at, lines);
  return out;
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
  const auto value = find_value(content->text, to_utf8(section), to_utf8(key));
  return value ? leading_integer(*value) : default_value;
}

bool write_profile_string(std::u16string_view section, std::u16string_view key, std::u16string_view value,
                          std::u16string_view file) {
  // Such texts would come back as other lines than they went in, or not be found again.
  const auto is_name = [](std::u16string_view name, std::u16string_view marks) {
    const std::string text = to_utf8(name);
    return name.find_first_of(marks) == name.npos && trim(text).size() == text.size();
  };
  if (!is_name(section, u"]\r\n") || !is_name(key, u"[=\r\n") || value.find_first_of(u"\r\n") != value.npos) {
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
  content->text = set_value(content->text, to_utf8(section), to_utf8(key), to_utf8(value));
  // Not synced: after a power failure the settings may be the old ones, and a line of trace in the receive path is not
  // worth a wait for the disk.
  return replace_text_file(target, *content, false);
}

}  // namespace kestrine::platform
