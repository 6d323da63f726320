// From the bytes of an answer to the caller's output parameters.
#pragma once

#include <cstdint>

#include "commands/argument.h"
#include "commands/method_rows.h"

namespace kestrine::commands {

// True when every output has somewhere to go.
bool has_all_outputs(const MethodRow& row, const Argument* arguments);
// Writes every output but variants. Throws std::bad_alloc when a text cannot be copied.
void write_outputs(const MethodRow& row, const std::uint8_t* packet, const Argument* arguments);
// The file of a still image as a byte array; false when it cannot be made. `capacity` is that of the buffer.
bool write_image(const std::uint8_t* packet, std::int32_t capacity, VARIANT& image);

}  // namespace kestrine::commands
