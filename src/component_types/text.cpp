#include "component_types/text.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "component_types/error_info.h"
#include "kestrine/loader.h"
#include "kestrine/text.h"

namespace kestrine::component_types {

HRESULT copy_to_task_memory(std::u16string_view text, LPOLESTR* copy) {
  *copy = static_cast<LPOLESTR>(CoTaskMemAlloc((text.size() + 1) * sizeof(OLECHAR)));
  if (*copy == nullptr) return E_OUTOFMEMORY;
  (*copy)[text.copy(*copy, text.size())] = 0;
  return S_OK;
}

std::string to_text(const GUID& id) {
  char text[39];
  const auto& end = id.Data4;
  std::snprintf(text, sizeof text, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", id.Data1, id.Data2, id.Data3,
                end[0], end[1], end[2], end[3], end[4], end[5], end[6], end[7]);
  return text;
}

bool read_guid(std::string_view text, GUID& id) {
  // sscanf() alone would take signs, blanks and short numbers.
  constexpr std::string_view kPattern = "{xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}";
  const auto fits = [](char c, char pattern) {
    return pattern == 'x' ? std::isxdigit(static_cast<unsigned char>(c)) != 0 : c == pattern;
  };
  if (!std::ranges::equal(text, kPattern, fits)) return false;
  auto& end = id.Data4;
  std::sscanf(std::string(text).c_str(), "{%8x-%4hx-%4hx-%2hhx%2hhx-%2hhx%2hhx%2hhx%2hhx%2hhx%2hhx}", &id.Data1,
              &id.Data2, &id.Data3, &end[0], &end[1], &end[2], &end[3], &end[4], &end[5], &end[6], &end[7]);
  return true;
}

}  // namespace kestrine::component_types

using namespace kestrine;

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

void* CoTaskMemAlloc(std::size_t bytes) {
  return std::malloc(bytes);
}

void CoTaskMemFree(void* memory) {
  std::free(memory);
}

INT StringFromGUID2(REFGUID id, LPOLESTR text, INT length) {
  const std::u16string made = to_utf16(component_types::to_text(id));
  const auto needed = static_cast<INT>(made.size()) + 1;
  if (text == nullptr || length < needed) return 0;
  text[made.copy(text, made.size())] = 0;
  return needed;
}

HRESULT StringFromCLSID(REFCLSID clsid, LPOLESTR* text) {
  if (text == nullptr) return E_POINTER;
  return component_types::guarded(
      [&] { return component_types::copy_to_task_memory(to_utf16(component_types::to_text(clsid)), text); });
}

HRESULT CLSIDFromString(LPCOLESTR text, CLSID* clsid) {
  if (clsid == nullptr) return E_POINTER;
  *clsid = GUID_NULL;
  if (text == nullptr) return S_OK;
  return component_types::guarded(
      [&] { return component_types::read_guid(to_utf8(text), *clsid) ? S_OK : CLSIDFromProgID(text, clsid); });
}
