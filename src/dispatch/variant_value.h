// Values of the catalogue as callers, sinks and scripts have them: what type a variant of one has, and how it gets
// there from the bytes of a packet.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kestrine/component.h"
#include "protocol/catalogue.h"

namespace kestrine::dispatch {

// Of a parameter or an argument of an event: VT_BOOL for a flag, VT_BSTR for a text, VT_VARIANT for bytes.
VARTYPE argument_type(protocol::ValueType type);
// Of a field of a record, or of each of its elements, and its size: a flag keeps its 32 bits, a text is units.
VARTYPE field_type(protocol::ValueType type);
std::size_t field_size(protocol::ValueType type);

// Writes what the packet holds at `wire` to an output of its argument's type, or to a variant that holds nothing. Of a
// flag that is the low half of the server's number: 1 stays 1. Bytes and objects are not written, and records to
// outputs only. Both throw std::bad_alloc when a text cannot be copied.
void write_argument(const protocol::Value& value, const std::uint8_t* wire, void* out);
void write_variant(const protocol::Value& value, const std::uint8_t* wire, VARIANT& variant);

// A copy of at most that many units, up to the first zero; null when there is no memory for it.
BSTR copy_text(const char16_t* units, std::size_t most);

}  // namespace kestrine::dispatch
