#include "dispatch/variant_value.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>

#include "kestrine/wire.h"
#include "protocol/codec.h"

namespace kestrine::dispatch {

using protocol::ValueType;

namespace {

struct Forms {
  VARTYPE argument;
  VARTYPE field;
  std::size_t size;
};

// In the order of ValueType. Records have their own sizes.
constexpr Forms kForms[] = {{VT_I4, VT_I4, 4},          {VT_BOOL, VT_I4, 4},     {VT_R8, VT_R8, 8},
                            {VT_BSTR, VT_UI2, 2},       {VT_VARIANT, VT_UI1, 1}, {VT_RECORD, VT_RECORD, 0},
                            {VT_UNKNOWN, VT_UNKNOWN, 0}};
static_assert(std::size(kForms) == static_cast<std::size_t>(ValueType::kObject) + 1);

const Forms& forms(ValueType type) {
  return kForms[static_cast<std::size_t>(type)];
}

template <class Payload>
void store(void* out, Payload payload) {
  std::memcpy(out, &payload, sizeof payload);
}

BSTR copy_field(const protocol::Value& value, const std::uint8_t* wire) {
  std::array<char16_t, 128> units;
  wire::load_text(wire, units.data(), value.count);
  BSTR text = copy_text(units.data(), value.count);
  if (text == nullptr) throw std::bad_alloc();
  return text;
}

}  // namespace

VARTYPE argument_type(ValueType type) {
  return forms(type).argument;
}

VARTYPE field_type(ValueType type) {
  return forms(type).field;
}

std::size_t field_size(ValueType type) {
  return forms(type).size;
}

void write_argument(const protocol::Value& value, const std::uint8_t* wire, void* out) {
  switch (value.type) {
    case ValueType::kInt32:
      return store(out, wire::load_i32(wire));
    case ValueType::kFlag:
      return store(out, static_cast<VARIANT_BOOL>(wire::load_u16(wire)));
    case ValueType::kDouble:
      return store(out, wire::load_f64(wire));
    case ValueType::kText:
      return store(out, copy_field(value, wire));
    case ValueType::kRecord:
      return protocol::decode_record(*value.named, wire, out);
    case ValueType::kBytes:
    case ValueType::kObject:
      return;
  }
}

void write_variant(const protocol::Value& value, const std::uint8_t* wire, VARIANT& variant) {
  write_argument(value, wire, &variant.llVal);
  variant.vt = argument_type(value.type);
}

BSTR copy_text(const char16_t* units, std::size_t most) {
  return SysAllocStringLen(units, static_cast<UINT>(std::find(units, units + most, u'\0') - units));
}

}  // namespace kestrine::dispatch
