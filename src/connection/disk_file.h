// Writing an array of a caller's to a file.
#pragma once

#include "kestrine/component.h"

namespace kestrine::connection {

// Creates or replaces the file. False when there is no array or no name, and when not every byte has reached the file.
bool write_disk_file(const VARIANT* data, BSTR name);

}  // namespace kestrine::connection
