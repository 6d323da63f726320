// Libraries that are loaded at run time.
#pragma once

#include <string>

#include "kestrine/export.h"

namespace kestrine::platform {

// The full path of the library that holds the function or object at the address. A link to the library in the last
// place of the path is kept: it outlives the version that it leads to. Empty when there is no such library.
KESTRINE_HOST_API std::u16string library_path(const void* inside);

// Null, with the reason, for a file that cannot be loaded. A library stays loaded: nobody knows which objects and
// threads still run in it.
void* load_library(const std::string& file, std::string& reason);
// What the library exports under the name; null when it exports nothing of that name.
void* find_symbol(void* library, const char* name);

}  // namespace kestrine::platform
