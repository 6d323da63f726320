#include "platform/linux/guid_text.h"

#include <array>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "kestrine/loader.h"
#include "kestrine/text.h"

namespace kestrine::platform {
namespace {

constexpr std::string_view kPattern = "{xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}";

void put_hex(std::string& out, std::uint32_t value, int digits) {
  while (digits-- > 0) out.push_back("0123456789ABCDEF"[value >> (4 * digits) & 0xF]);
}

bool is_hex(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}

// The number in so many digits, which have been looked at already.
template <class Number>
Number hex(std::string_view digits) {
  std::uint32_t value = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
  return static_cast<Number>(value);
}

}  // namespace

std::string to_text(const GUID& id) {
  std::string text = "{";
  put_hex(text, id.Data1, 8);
  for (const std::uint16_t part : {id.Data2, id.Data3}) {
    text.push_back('-');
    put_hex(text, part, 4);
  }
  for (std::size_t i = 0; i < std::size(id.Data4); ++i) {
    if (i == 0 || i == 2) text.push_back('-');
    put_hex(text, id.Data4[i], 2);
  }
  return text + "}";
}

bool read_guid(std::string_view text, GUID& id) {
  if (text.size() != kPattern.size()) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (kPattern[i] == 'x' ? !is_hex(text[i]) : text[i] != kPattern[i]) return false;
  }
  id.Data1 = hex<std::uint32_t>(text.substr(1, 8));
  id.Data2 = hex<std::uint16_t>(text.substr(10, 4));
  id.Data3 = hex<std::uint16_t>(text.substr(15, 4));
  for (std::size_t i = 0; i < std::size(id.Data4); ++i) {
    id.Data4[i] = hex<std::uint8_t>(text.substr(i < 2 ? 20 + 2 * i : 21 + 2 * i, 2));
  }
  return true;
}

}  // namespace kestrine::platform

using namespace kestrine;

void* CoTaskMemAlloc(std::size_t bytes) {
  return std::malloc(bytes);
}

void CoTaskMemFree(void* memory) {
  std::free(memory);
}

INT StringFromGUID2(REFGUID id, LPOLESTR text, INT length) {
  const std::u16string made = to_utf16(platform::to_text(id));
  const auto needed = static_cast<INT>(made.size()) + 1;
  if (text == nullptr || length < needed) return 0;
  made.copy(text, made.size());
  text[made.size()] = 0;
  return needed;
}

HRESULT StringFromCLSID(REFCLSID clsid, LPOLESTR* text) {
  if (text == nullptr) return E_POINTER;
  constexpr INT kLength = 39;
  *text = static_cast<LPOLESTR>(CoTaskMemAlloc(kLength * sizeof(OLECHAR)));
  return *text != nullptr && StringFromGUID2(clsid, *text, kLength) != 0 ? S_OK : E_OUTOFMEMORY;
}

HRESULT CLSIDFromString(LPCOLESTR text, CLSID* clsid) {
  if (clsid == nullptr) return E_POINTER;
  *clsid = GUID_NULL;
  if (text == nullptr) return S_OK;
  return platform::read_guid(to_utf8(text), *clsid) ? S_OK : CLSIDFromProgID(text, clsid);
}
