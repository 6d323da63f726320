// Identifiers as text.
#pragma once

#include <string>
#include <string_view>

#include "kestrine/component.h"

namespace kestrine::platform {

std::string to_text(const GUID& id);
// False, with `id` as it was, when the text is none.
bool read_guid(std::string_view text, GUID& id);

}  // namespace kestrine::platform
