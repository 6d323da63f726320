// What the services for variants and arrays know in common of the types.
#pragma once

#include "kestrine/component.h"

namespace kestrine::component_types {

// Bytes that a value takes in an array or behind a pointer; 0 for what has no size of its own.
constexpr ULONG value_size(VARTYPE type) {
  switch (type) {
    case VT_I1:
    case VT_UI1:
      return 1;
    case VT_I2:
    case VT_UI2:
    case VT_BOOL:
      return 2;
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
    case VT_R4:
    case VT_ERROR:
      return 4;
    case VT_I8:
    case VT_UI8:
    case VT_R8:
    case VT_CY:
    case VT_DATE:
    case VT_BSTR:
    case VT_UNKNOWN:
    case VT_DISPATCH:
      return 8;
    case VT_VARIANT:
      return sizeof(VARIANT);
    default:
      return 0;
  }
}

// Whether a variant can be of that type.
bool is_variant_type(VARTYPE type);

// Makes the bits copied from another variant a value of its own. On failure it owns nothing.
HRESULT make_own(VARIANT& copy);

// The value that `from` holds or points at, without a copy of its own: nothing to clear.
HRESULT dereference(const VARIANT& from, VARIANT& value);

// Gives `to` the value, which it owns from then on, for the one that it has. On failure the value is cleared.
HRESULT replace(VARIANT& to, VARIANT value);

}  // namespace kestrine::component_types
