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

// A text in memory of the caller's, lent to a callee that does not free it. It looks like any other: in front of its
// units stands their length in bytes.
template <std::size_t MostUnits>
struct LentText {
  alignas(8) ULONG unused;
  ULONG bytes;
  OLECHAR units[MostUnits + 1];

  // The units up to the first zero, of `count` that have been written.
  BSTR finish(std::size_t count) {
    units[count] = 0;
    bytes = static_cast<ULONG>(std::char_traits<OLECHAR>::length(units) * sizeof(OLECHAR));
    return units;
  }
};

}  // namespace kestrine::component_types
