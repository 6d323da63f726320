#include "dispatch/variant_value.h"

#include <algorithm>
#include <array>
#include <new>

namespace kestrine::dispatch {

BSTR copy_field(const protocol::Value& value, const std::uint8_t* wire) {
  std::array<char16_t, kMostUnits> units;
  wire::load_text(wire, units.data(), value.count);
  BSTR text = copy_text(units.data(), value.count);
  if (text == nullptr) throw std::bad_alloc();
  return text;
}

BSTR copy_text(const char16_t* units, std::size_t most) {
  return SysAllocStringLen(units, static_cast<UINT>(std::find(units, units + most, u'\0') - units));
}

}  // namespace kestrine::dispatch
