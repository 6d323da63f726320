#include "connection/byte_array.h"

#include <cstring>

namespace kestrine::connection {

SAFEARRAY* make_byte_array(const std::uint8_t* bytes, std::int32_t size) {
  SAFEARRAY* array = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(size));
  void* into = nullptr;
  if (array == nullptr || FAILED(SafeArrayAccessData(array, &into))) return nullptr;
  if (size > 0) std::memcpy(into, bytes, static_cast<std::size_t>(size));
  SafeArrayUnaccessData(array);
  return array;
}

}  // namespace kestrine::connection
