#include "protocol/decode.h"

#include <cstring>

#include "kestrine/wire.h"

namespace kestrine::protocol {
namespace {

template <class Value>
void store_native(std::uint8_t* at, Value value) {
  std::memcpy(at, &value, sizeof value);
}

}  // namespace

void decode_record(const RecordRow& row, const std::uint8_t* from, void* record) {
  auto* into = static_cast<std::uint8_t*>(record);
  for (const Field& field : row.fields) {
    const std::uint8_t* at = from + field.offset;
    std::uint8_t* to = into + field.offset;
    switch (field.type) {
      case FieldType::kInt32:
      case FieldType::kBool32:
        store_native(to, wire::load_i32(at));
        break;
      case FieldType::kDouble:
        store_native(to, wire::load_f64(at));
        break;
      case FieldType::kText:
        for (std::uint16_t i = 0; i < field.units; ++i) store_native(to + 2 * i, wire::load_u16(at + 2 * i));
        break;
      case FieldType::kByte:
        *to = *at;
        break;
    }
  }
}

}  // namespace kestrine::protocol
