// Where a loaded library lies.
#pragma once

#include <string>

#include "kestrine/export.h"

namespace kestrine::platform {

// The full path of the library that holds the function or object at the address. A link to the library in the last
// place of the path is kept: it outlives the version that it leads to. Empty when there is no such library.
KESTRINE_HOST_API std::u16string library_path(const void* inside);

}  // namespace kestrine::platform
