// Where the libraries of components enter their classes: keys that hold named texts.
//
// A key is a path whose parts are joined by backslashes, such as CLSID\{...}\ProgID. Keys and names are found without
// regard to case.
#pragma once

#include <string>
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

// Makes all of the edits, in their order, or none of them. They go to the classes of the user or of the whole system
// as the host chose (host.h). Safe against other processes that do the same. A failure is told in the thread's error
// information: E_ACCESSDENIED where the caller may not write, REGDB_E_READREGDB where what is there cannot be
// understood, and is left alone.
KESTRINE_HOST_API HRESULT edit_registry(const std::vector<RegistryEdit>& edits);

}  // namespace kestrine::platform
