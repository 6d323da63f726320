// Texts as the component types carry them, and identifiers as text.
#pragma once

#include <string>
#include <string_view>

#include "kestrine/component.h"

namespace kestrine::component_types {

// Makes a copy that the receiver frees with CoTaskMemFree().
HRESULT copy_to_task_memory(std::u16string_view text, LPOLESTR* copy);

// In braces, with capital letters.
std::string to_text(const GUID& id);
// False, with `id` as it was, when the text is no identifier.
bool read_guid(std::string_view text, GUID& id);

}  // namespace kestrine::component_types
