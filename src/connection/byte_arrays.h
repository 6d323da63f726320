// Arrays of bytes as callers hand them in and get them, and the disk file of one.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "kestrine/component.h"

namespace kestrine::connection {

// A copy of the bytes, for the caller to destroy; null when there is no memory for it.
SAFEARRAY* make_byte_array(std::span<const std::uint8_t> bytes);
// Puts such a copy into a variant, whatever that holds; false, and the variant as it was, when there is no memory.
bool put_byte_array(std::span<const std::uint8_t> bytes, VARIANT& variant);
// The array in a variant, or in what a variant refers to; null when there is none.
SAFEARRAY* array_of(const VARIANT* variant);
// The bytes of a one-dimensional array of bytes, which may be empty; nothing for anything else.
std::optional<std::span<const std::uint8_t>> bytes_of(const VARIANT* variant);

// Creates or replaces the file. False when there is no array or no name, and when not every byte has reached the file.
bool write_disk_file(const VARIANT* data, BSTR name);

}  // namespace kestrine::connection
