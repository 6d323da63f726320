#include "connection/byte_arrays.h"

#include <cstdio>
#include <cstring>
#include <string>

#include "kestrine/text.h"

namespace kestrine::connection {
namespace {

// As many bytes as the first dimension in memory has elements, however wide these are. Where another dimension is
// empty there is none at all.
std::size_t bytes_to_write(SAFEARRAY* array) {
  for (UINT dimension = 1; dimension <= array->cDims; ++dimension) {
    LONG lower = 0;
    LONG upper = 0;
    if (FAILED(SafeArrayGetLBound(array, dimension, &lower)) || FAILED(SafeArrayGetUBound(array, dimension, &upper)) ||
        upper < lower) {
      return 0;
    }
  }
  return array->cbElements == 0 ? 0 : array->rgsabound[0].cElements;
}

}  // namespace

SAFEARRAY* make_byte_array(std::span<const std::uint8_t> bytes) {
  SAFEARRAY* array = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(bytes.size()));
  void* into = nullptr;
  if (array == nullptr || FAILED(SafeArrayAccessData(array, &into))) return nullptr;
  if (!bytes.empty()) std::memcpy(into, bytes.data(), bytes.size());
  SafeArrayUnaccessData(array);
  return array;
}

bool put_byte_array(std::span<const std::uint8_t> bytes, VARIANT& variant) {
  SAFEARRAY* const array = make_byte_array(bytes);
  if (array == nullptr) return false;
  VariantInit(&variant);
  variant.vt = VT_ARRAY | VT_UI1;
  variant.parray = array;
  return true;
}

SAFEARRAY* array_of(const VARIANT* variant) {
  if (variant != nullptr && variant->vt == (VT_BYREF | VT_VARIANT)) variant = variant->pvarVal;
  if (variant == nullptr || (variant->vt & VT_ARRAY) == 0) return nullptr;
  if ((variant->vt & VT_BYREF) == 0) return variant->parray;
  return variant->pparray == nullptr ? nullptr : *variant->pparray;
}

std::optional<std::span<const std::uint8_t>> bytes_of(const VARIANT* variant) {
  const SAFEARRAY* array = array_of(variant);
  if (array == nullptr || array->cDims != 1 || array->cbElements != 1) return std::nullopt;
  return std::span(static_cast<const std::uint8_t*>(array->pvData), array->rgsabound[0].cElements);
}

bool write_disk_file(const VARIANT* data, BSTR name) {
  SAFEARRAY* array = array_of(data);
  if (array == nullptr || array->cDims == 0 || SysStringLen(name) == 0) return false;
  const std::size_t count = bytes_to_write(array);
  std::FILE* const file = std::fopen(to_utf8({name, SysStringLen(name)}).c_str(), "wb");
  if (file == nullptr) return false;
  const bool written = std::fwrite(array->pvData, 1, count, file) == count;
  // What is still buffered may find the disk full as late as here.
  return std::fclose(file) == 0 && written;
}

}  // namespace kestrine::connection
