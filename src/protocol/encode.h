// Writing parameters by their rows, for callers that know a command by its number or its name only.
#pragma once

#include <cstdint>

#include "protocol/tables.h"

namespace kestrine::protocol {

// Writes one parameter into the packet at the field's offset: a flag as 0 or 1, an integer for a double field as that
// double. A double is for double fields only.
void encode_parameter(const Field& field, std::int32_t value, std::uint8_t* packet);
void encode_parameter(const Field& field, double value, std::uint8_t* packet);

// Writes a record that lies in memory as its structure does (kestrine/records.h), flags as 0 or 1.
void encode_record(const RecordRow& row, const void* record, std::uint8_t* into);

}  // namespace kestrine::protocol
