// Reading received bytes by their rows. Received flags keep the number that they carry.
#pragma once

#include <cstdint>

#include "protocol/tables.h"

namespace kestrine::protocol {

// Writes the record into memory as its structure lies there (kestrine/records.h).
void decode_record(const RecordRow& row, const std::uint8_t* from, void* record);

}  // namespace kestrine::protocol
