#include "connection/disk_file.h"

#include <cstdio>
#include <string>

#include "connection/packet_access.h"
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
