#include "platform/linux/profile_text.h"

#include <algorithm>
#include <cstddef>

#include "platform/linux/same_name.h"

namespace kestrine::platform {
namespace {

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

}  // namespace

std::optional<std::string_view> find_profile_value(std::string_view text, std::string_view section,
                                                   std::string_view key) {
  const Place place = find_place(text, section, key);
  if (place.value == std::string_view::npos) return std::nullopt;
  return trim(text.substr(place.value, place.value_end - place.value));
}

std::string set_profile_value(std::string_view text, std::string_view section, std::string_view key,
                              std::string_view value) {
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

}  // namespace kestrine::platform
