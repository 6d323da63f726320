// The files behind the registry.
//
// A user's classes are in $XDG_DATA_HOME/kestrine/classes.reg (~/.local/share), those of the whole system in
// kestrine/classes.reg of a directory in $XDG_DATA_DIRS: written in the first one, looked for in all of them, as the
// variable often differs between a user and an administrator.
#pragma once

#include <filesystem>
#include <vector>

#include "kestrine/component.h"
#include "platform/linux/registry_text.h"

namespace kestrine::platform {

// In the order in which a class is looked for, the user's first.
std::vector<std::filesystem::path> registry_files();
// An empty text when there is no such file. REGDB_E_READREGDB for one that cannot be read or understood.
HRESULT read_registry(const std::filesystem::path& file, RegistryText& text);

// For the life of the object, what this thread enters goes into the text instead of a file.
class RegistryCapture {
 public:
  explicit RegistryCapture(RegistryText& into);
  ~RegistryCapture();
  RegistryCapture(const RegistryCapture&) = delete;
  RegistryCapture& operator=(const RegistryCapture&) = delete;
};

}  // namespace kestrine::platform
