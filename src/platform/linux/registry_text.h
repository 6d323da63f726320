// The text of a file of registered classes, read and edited without a file: a section for each key, a line for each
// of its values, `@` for the default one. Lines that begin with a semicolon are notes.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestrine::platform {

// Keys and names are found without regard to case. All texts are UTF-8.
class RegistryText {
 public:
  // The text, or none and the number of the first line that makes no sense.
  static std::optional<RegistryText> parse(std::string_view text, std::size_t& bad_line);

  // The name "" is that of the default value. Of keys or names that appear twice the first counts.
  std::optional<std::string> value(std::string_view key, std::string_view name) const;
  // The parts that follow the key in the paths of other keys, as they are spelled first.
  std::vector<std::string> subkeys(std::string_view key) const;

  // False when the texts would not read back as they are.
  bool set_value(std::string_view key, std::string_view name, std::string_view value);
  bool add_key(std::string_view key);
  // The key with all below it. A key that is added again later gets its old place, so that registering twice changes
  // nothing in the file.
  void remove_tree(std::string_view key);

  bool empty() const;
  std::string text() const;

 private:
  struct Key {
    std::string path;
    std::vector<std::string> lines;
    bool removed = false;
  };

  const Key* find(std::string_view path) const;
  Key& find_or_add(std::string_view path);

  std::vector<std::string> notes_;  // in front of the first key
  std::vector<Key> keys_;
};

}  // namespace kestrine::platform
