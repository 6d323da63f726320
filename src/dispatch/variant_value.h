// Values of the catalogue as callers, sinks and scripts have them: what type a variant of one has, and how it gets
// there from the bytes of a packet.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>

#include "kestrine/component.h"
#include "kestrine/wire.h"
#include "protocol/catalogue.h"
#include "protocol/codec.h"

namespace kestrine::dispatch {

// The types that a value has in a variant, and the size of a field.
struct VariantForms {
  VARTYPE argument;  // of a parameter or an argument of an event
  VARTYPE field;     // of a field of a record, or of each of its elements: a flag keeps its 32 bits, a text is units
  std::size_t size;
};

// In the order of ValueType. Records have their own sizes.
inline constexpr VariantForms kVariantForms[] = {
    {VT_I4, VT_I4, 4},       {VT_BOOL, VT_I4, 4},       {VT_R8, VT_R8, 8},          {VT_BSTR, VT_UI2, 2},
    {VT_VARIANT, VT_UI1, 1}, {VT_RECORD, VT_RECORD, 0}, {VT_UNKNOWN, VT_UNKNOWN, 0}};
static_assert(std::size(kVariantForms) == static_cast<std::size_t>(protocol::ValueType::kObject) + 1);

constexpr const VariantForms& forms_of(protocol::ValueType type) {
  return kVariantForms[static_cast<std::size_t>(type)];
}

inline constexpr std::size_t kMostUnits = 128;  // of a text in a packet

// A copy of at most that many units, up to the first zero; null when there is no memory for it.
BSTR copy_text(const char16_t* units, std::size_t most);
// The same of a text in a packet. Throws std::bad_alloc.
BSTR copy_field(const protocol::Value& value, const std::uint8_t* wire);

// Writes what the packet holds at `wire` to an output of its argument's type. Of a flag that is the low half of the
// server's number: 1 stays 1. Bytes and objects are not written. Throws std::bad_alloc when a text cannot be copied.
// Inline, as every argument of every event comes this way.
inline void write_argument(const protocol::Value& value, const std::uint8_t* wire, void* out) {
  const auto store = [out](auto payload) { std::memcpy(out, &payload, sizeof payload); };
  switch (value.type) {
    case protocol::ValueType::kInt32:
      return store(wire::load_i32(wire));
    case protocol::ValueType::kFlag:
      return store(static_cast<VARIANT_BOOL>(wire::load_u16(wire)));
    case protocol::ValueType::kDouble:
      return store(wire::load_f64(wire));
    case protocol::ValueType::kText:
      return store(copy_field(value, wire));
    case protocol::ValueType::kRecord:
      return protocol::decode_record(*value.named, wire, out);
    case protocol::ValueType::kBytes:
    case protocol::ValueType::kObject:
      return;
  }
}

// The same to a variant that holds nothing; not of records.
inline void write_variant(const protocol::Value& value, const std::uint8_t* wire, VARIANT& variant) {
  write_argument(value, wire, &variant.llVal);
  variant.vt = forms_of(value.type).argument;
}

}  // namespace kestrine::dispatch
