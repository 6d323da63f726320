#include "data/disk_file.h"

#include <cstdio>
#include <string>

#include "data/packet_access.h"
#include "kestrine/text.h"

namespace kestrine::data {

bool write_disk_file(const VARIANT* data, BSTR name) {
  const SAFEARRAY* array = array_of(data);
  if (array == nullptr || array->cDims == 0 || SysStringLen(name) == 0) return false;
  // As many bytes as there are elements, however wide these are.
  const std::size_t count = array->cbElements == 0 ? 0 : array->rgsabound[0].cElements;
  std::FILE* const file = std::fopen(to_utf8({name, SysStringLen(name)}).c_str(), "wb");
  if (file == nullptr) return false;
  const bool written = std::fwrite(array->pvData, 1, count, file) == count;
  // What is still buffered may find the disk full as late as here.
  return std::fclose(file) == 0 && written;
}

}  // namespace kestrine::data
