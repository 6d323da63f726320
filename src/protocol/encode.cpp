#include "protocol/encode.h"

#include <cassert>
#include <cstring>

#include "kestrine/wire.h"

namespace kestrine::protocol {
namespace {

template <class Value>
Value load_native(const std::uint8_t* at) {
  Value value;
  std::memcpy(&value, at, sizeof value);
  return value;
}

void encode_units(const std::uint8_t* from, std::uint16_t units, std::uint8_t* into) {
  for (std::uint16_t i = 0; i < units; ++i) wire::store_u16(into + 2 * i, load_native<std::uint16_t>(from + 2 * i));
}

}  // namespace

void encode_parameter(const Field& field, std::int32_t value, std::uint8_t* packet) {
  std::uint8_t* at = packet + field.offset;
  switch (field.type) {
    case FieldType::kInt32:
      return wire::store_i32(at, value);
    case FieldType::kBool32:
      return wire::store_i32(at, value != 0 ? 1 : 0);
    case FieldType::kDouble:
      return wire::store_f64(at, value);
    case FieldType::kByte:
      *at = static_cast<std::uint8_t>(value);
      return;
    case FieldType::kText:
      return;  // no request carries a text
  }
}

void encode_parameter(const Field& field, double value, std::uint8_t* packet) {
  assert(field.type == FieldType::kDouble);
  wire::store_f64(packet + field.offset, value);
}

void encode_record(const RecordRow& row, const void* record, std::uint8_t* into) {
  const auto* bytes = static_cast<const std::uint8_t*>(record);
  for (const Field& field : row.fields) {
    const std::uint8_t* from = bytes + field.offset;
    switch (field.type) {
      case FieldType::kInt32:
      case FieldType::kBool32:
        encode_parameter(field, load_native<std::int32_t>(from), into);
        break;
      case FieldType::kDouble:
        encode_parameter(field, load_native<double>(from), into);
        break;
      case FieldType::kByte:
        encode_parameter(field, *from, into);
        break;
      case FieldType::kText:
        encode_units(from, field.units, into + field.offset);
        break;
    }
  }
}

}  // namespace kestrine::protocol
