// Where the libraries of components enter their classes: keys that hold named texts.
//
// A key is a path whose parts are joined by backslashes, such as CLSID\{...}\ProgID. Keys and names are found without
// regard to case. A user's keys are in $XDG_DATA_HOME/kestrine/classes.reg (~/.local/share), those of the whole system
// in kestrine/classes.reg of a directory in $XDG_DATA_DIRS: written in the first one, looked for in all of them, as the
// variable often differs between a user and an administrator.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kestrine/component.h"

namespace kestrine::platform {

struct RegistryEdit {
  enum class Kind { kAddKey, kSetValue, kRemoveTree };

  Kind kind;
  std::u16string key;
  std::u16string name;  // of the value; empty for the key's default one
  std::u16string value;
};

struct RegistryResult {
  HRESULT status = S_OK;
  std::string reason;  // of a failure
};

// The keys of one file, which has a section for each and in it a line for each value, `@` for the default one; lines
// that begin with a semicolon are notes. All texts are UTF-8.
class RegistryText {
 public:
  // The text, or none and the number of the first line that makes no sense.
  static std::optional<RegistryText> parse(std::string_view text, std::size_t& bad_line);

  // The name "" is that of the default value. Of keys or names that appear twice the first counts.
  std::optional<std::string> value(std::string_view key, std::string_view name) const;
  // The parts that follow the key in the paths of other keys, as they are spelled first.
  std::vector<std::string> subkeys(std::string_view key) const;

  // False when the texts would not read back as they are.
  bool apply(const RegistryEdit& edit);

  bool empty() const;
  std::string text() const;

 private:
  struct Key {
    std::string path;
    std::vector<std::string> lines;
    bool removed = false;
  };

  const Key* find(std::string_view path) const;
  Key* add_key(std::string_view path);
  bool set_value(std::string_view path, std::string_view name, std::string_view value);
  // The key with all below it. A key that is added again later gets its old place, so that registering twice changes
  // nothing in the file.
  void remove_tree(std::string_view path);

  std::vector<std::string> notes_;  // in front of the first key
  std::vector<Key> keys_;
};

// Makes all of the edits, in their order, or none of them. They go to the classes of the user or of the whole system
// as the host chose (host.h). Safe against other processes that do the same. Fails with E_ACCESSDENIED where the
// caller may not write, with REGDB_E_WRITEREGDB where nobody can, with REGDB_E_INVALIDVALUE for texts that would not
// read back as they are, and with REGDB_E_READREGDB where what is there cannot be understood, and is left alone.
KESTRINE_HOST_API RegistryResult edit_registry(const std::vector<RegistryEdit>& edits);

// In the order in which a class is looked for, the user's first.
std::vector<std::filesystem::path> registry_files();
// An empty text when there is no such file. REGDB_E_READREGDB for one that cannot be read or understood.
RegistryResult read_registry(const std::filesystem::path& file, RegistryText& text);

// For the life of the object, what this thread enters goes into the text instead of a file.
class RegistryCapture {
 public:
  explicit RegistryCapture(RegistryText& into);
  ~RegistryCapture();
  RegistryCapture(const RegistryCapture&) = delete;
  RegistryCapture& operator=(const RegistryCapture&) = delete;
};

}  // namespace kestrine::platform
