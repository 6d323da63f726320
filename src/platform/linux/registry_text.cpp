#include <algorithm>
#include <utility>

#include "kestrine/text.h"
#include "platform/linux/text_file.h"
#include "platform/registry.h"

namespace kestrine::platform {
namespace {

using detail::same_name;

constexpr std::string_view kDefaultName = "@";

std::string_view name_in_file(std::string_view name) {
  return name.empty() ? kDefaultName : name;
}

bool is_note(std::string_view line) {
  return line.starts_with(';');
}

std::string_view name_of(std::string_view line) {
  return trim(line.substr(0, line.find('=')));
}

bool holds(std::string_view line, std::string_view name) {
  return !is_note(line) && same_name(name_of(line), name_in_file(name));
}

bool is_plain(std::string_view text) {
  return trim(text).size() == text.size() && text.find_first_of(std::string_view("\r\n\0", 3)) == text.npos;
}

bool is_name(std::string_view name) {
  return is_plain(name) && name != kDefaultName && name.find_first_of("=[;") == name.npos;
}

// What follows `path` and a backslash in the path of a key below it; empty for any other key.
std::string_view below(std::string_view key, std::string_view path) {
  if (key.size() <= path.size() || key[path.size()] != '\\' || !same_name(key.substr(0, path.size()), path)) return {};
  return key.substr(path.size() + 1);
}

}  // namespace

std::optional<RegistryText> RegistryText::parse(std::string_view text, std::size_t& bad_line) {
  RegistryText parsed;
  bad_line = 0;
  while (!text.empty()) {
    ++bad_line;
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = trim(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    if (!is_plain(line) || to_utf8(to_utf16(line)) != line) return std::nullopt;
    if (line.starts_with('[')) {
      if (!line.ends_with(']') || line.size() == 2) return std::nullopt;
      parsed.keys_.push_back({std::string(trim(line.substr(1, line.size() - 2))), {}});
    } else if (is_note(line)) {
      (parsed.keys_.empty() ? parsed.notes_ : parsed.keys_.back().lines).emplace_back(line);
    } else if (!line.empty()) {
      if (parsed.keys_.empty() || line.find('=') == line.npos || name_of(line).empty()) return std::nullopt;
      parsed.keys_.back().lines.emplace_back(line);
    }
  }
  return parsed;
}

const RegistryText::Key* RegistryText::find(std::string_view path) const {
  const auto found = std::ranges::find_if(keys_, [&](const Key& key) { return same_name(key.path, path); });
  return found == keys_.end() ? nullptr : &*found;
}

std::optional<std::string> RegistryText::value(std::string_view key, std::string_view name) const {
  const Key* const found = find(key);
  if (found == nullptr) return std::nullopt;
  for (const std::string_view line : found->lines) {
    if (holds(line, name)) return std::string(trim(line.substr(line.find('=') + 1)));
  }
  return std::nullopt;
}

std::vector<std::string> RegistryText::subkeys(std::string_view key) const {
  std::vector<std::string> names;
  for (const Key& other : keys_) {
    const std::string_view rest = other.removed ? std::string_view() : below(other.path, key);
    const std::string_view name = rest.substr(0, rest.find('\\'));
    const auto is_it = [&](const std::string& known) { return same_name(known, name); };
    if (!name.empty() && std::ranges::none_of(names, is_it)) names.emplace_back(name);
  }
  return names;
}

bool RegistryText::apply(const RegistryEdit& edit) {
  const std::string key = to_utf8(edit.key);
  switch (edit.kind) {
    case RegistryEdit::Kind::kAddKey:
      return add_key(key) != nullptr;
    case RegistryEdit::Kind::kSetValue:
      return set_value(key, to_utf8(edit.name), to_utf8(edit.value));
    case RegistryEdit::Kind::kRemoveTree:
      remove_tree(key);
  }
  return true;
}

RegistryText::Key* RegistryText::add_key(std::string_view path) {
  if (path.empty() || !is_plain(path)) return nullptr;
  Key* key = const_cast<Key*>(find(path));
  if (key == nullptr) key = &keys_.emplace_back(Key{std::string(path), {}});
  key->removed = false;
  return key;
}

bool RegistryText::set_value(std::string_view path, std::string_view name, std::string_view value) {
  if (!is_name(name) || !is_plain(value)) return false;
  Key* const key = add_key(path);
  if (key == nullptr) return false;
  const auto at = std::ranges::find_if(key->lines, [&](const std::string& known) { return holds(known, name); });
  std::string& line = at == key->lines.end() ? key->lines.emplace_back() : *at;
  line = std::string(name_in_file(name)) + "=" + std::string(value);
  return true;
}

void RegistryText::remove_tree(std::string_view path) {
  for (Key& other : keys_) {
    if (!same_name(other.path, path) && below(other.path, path).empty()) continue;
    other.removed = true;
    other.lines.clear();
  }
}

bool RegistryText::empty() const {
  return notes_.empty() && std::ranges::all_of(keys_, &Key::removed);
}

std::string RegistryText::text() const {
  std::string out;
  const auto add_line = [&out](std::string_view line) { out.append(line).push_back('\n'); };
  for (const std::string& note : notes_) add_line(note);
  for (const Key& key : keys_) {
    if (key.removed) continue;
    if (!out.empty()) add_line("");
    add_line("[" + key.path + "]");
    for (const std::string& line : key.lines) add_line(line);
  }
  return out;
}

}  // namespace kestrine::platform
