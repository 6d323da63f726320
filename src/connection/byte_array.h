// Arrays of bytes as callers get them.
#pragma once

#include <cstdint>

#include "kestrine/component.h"

namespace kestrine::connection {

// A copy of the bytes, for the caller to destroy; null when there is no memory for it.
SAFEARRAY* make_byte_array(const std::uint8_t* bytes, std::int32_t size);

}  // namespace kestrine::connection
