// UTF-16 as the component types carry it, made into the UTF-8 of files and terminals.
#pragma once

#include <string>
#include <string_view>

namespace kestrine::platform {

// A surrogate without its partner becomes U+FFFD.
std::string to_utf8(std::u16string_view text);

}  // namespace kestrine::platform
