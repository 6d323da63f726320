#include "commands/outputs.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <new>

#include "connection/byte_arrays.h"
#include "kestrine/records.h"
#include "kestrine/wire.h"
#include "protocol/decode.h"

namespace kestrine::commands {

namespace {

constexpr std::int32_t kImageSizeOffset = offsetof(GetStillImageRT, lFileSize);
constexpr std::int32_t kImageOffset = offsetof(GetStillImageRT, cFileStart);

BSTR copy_text(const std::uint8_t* at, std::size_t units) {
  std::array<char16_t, 128> text;
  wire::load_text(at, text.data(), units);
  const auto end = std::find(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(units), u'\0');
  BSTR copy = SysAllocStringLen(text.data(), static_cast<UINT>(end - text.begin()));
  if (copy == nullptr) throw std::bad_alloc();
  return copy;
}

void write_output(const Param& param, const std::uint8_t* at, void* out) {
  switch (param.type) {
    case ParamType::kLong:
      *static_cast<std::int32_t*>(out) = wire::load_i32(at);
      return;
    case ParamType::kDouble:
      *static_cast<double*>(out) = wire::load_f64(at);
      return;
    case ParamType::kBool:
      // The low half of the server's number as it is: 1 stays 1.
      *static_cast<VARIANT_BOOL*>(out) = static_cast<VARIANT_BOOL>(wire::load_u16(at));
      return;
    case ParamType::kText:
      *static_cast<BSTR*>(out) = copy_text(at, param.size);
      return;
    case ParamType::kRecord:
      protocol::decode_record(*protocol::find_record(param.type_name), at, out);
      return;
    case ParamType::kVariant:
      return;
  }
}

}  // namespace

bool has_all_outputs(const MethodRow& row, const Argument* arguments) {
  for (std::size_t i = 0; i < row.params.size(); ++i) {
    if (row.params[i].out && arguments[i].out == nullptr) return false;
  }
  return true;
}

void write_outputs(const MethodRow& row, const std::uint8_t* packet, const Argument* arguments) {
  for (std::size_t i = 0; i < row.params.size(); ++i) {
    const Param& param = row.params[i];
    if (param.out) write_output(param, packet + param.offset, arguments[i].out);
  }
}

bool write_image(const std::uint8_t* packet, std::int32_t capacity, VARIANT& image) {
  const std::int32_t size = wire::load_i32(packet + kImageSizeOffset);
  if (size < 0 || size > capacity - kImageOffset) return false;
  SAFEARRAY* array = connection::make_byte_array({packet + kImageOffset, static_cast<std::size_t>(size)});
  if (array == nullptr) return false;
  VariantInit(&image);
  image.vt = VT_ARRAY | VT_UI1;
  image.parray = array;
  return true;
}

}  // namespace kestrine::commands
