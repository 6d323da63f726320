#include <cstdlib>
#include <cstring>
#include <string_view>

#include "kestrine/component.h"

namespace {

// Eight bytes in front keep the characters aligned; the last four of them hold the length.
constexpr std::size_t kPrefix = 8;
constexpr std::size_t kLengthBack = 4;
constexpr UINT kMostCharacters = 0x3FFFFFF0;

}  // namespace

BSTR SysAllocStringLen(const OLECHAR* text, UINT length) {
  if (length > kMostCharacters) return nullptr;
  const ULONG bytes = length * static_cast<ULONG>(sizeof(OLECHAR));
  char* block = static_cast<char*>(std::calloc(1, kPrefix + bytes + sizeof(OLECHAR)));
  if (block == nullptr) return nullptr;
  char* characters = block + kPrefix;
  std::memcpy(characters - kLengthBack, &bytes, sizeof bytes);
  if (text != nullptr) std::memcpy(characters, text, bytes);
  return reinterpret_cast<BSTR>(characters);
}

BSTR SysAllocString(const OLECHAR* text) {
  if (text == nullptr) return nullptr;
  const std::u16string_view all(text);
  return all.size() <= kMostCharacters ? SysAllocStringLen(text, static_cast<UINT>(all.size())) : nullptr;
}

void SysFreeString(BSTR text) {
  if (text != nullptr) std::free(reinterpret_cast<char*>(text) - kPrefix);
}

UINT SysStringLen(BSTR text) {
  if (text == nullptr) return 0;
  ULONG bytes = 0;
  std::memcpy(&bytes, reinterpret_cast<const char*>(text) - kLengthBack, sizeof bytes);
  return bytes / static_cast<UINT>(sizeof(OLECHAR));
}
