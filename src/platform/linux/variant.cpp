#include "kestrine/component.h"

namespace {

bool is_known_type(VARTYPE type) {
  constexpr VARTYPE kFlags = VT_ARRAY | VT_BYREF;
  const int base = type & ~kFlags;
  if (base == VT_VARIANT) return (type & kFlags) != 0;
  return base <= VT_UNKNOWN || (base >= VT_I1 && base <= VT_UINT);
}

// Makes the bits copied from another variant a value of its own.
HRESULT own(VARIANT& copy) {
  if ((copy.vt & VT_BYREF) != 0) return S_OK;
  if ((copy.vt & VT_ARRAY) != 0) return SafeArrayCopy(copy.parray, &copy.parray);
  switch (copy.vt) {
    case VT_BSTR:
      if (copy.bstrVal == nullptr) return S_OK;
      copy.bstrVal = SysAllocStringLen(copy.bstrVal, SysStringLen(copy.bstrVal));
      return copy.bstrVal != nullptr ? S_OK : E_OUTOFMEMORY;
    case VT_UNKNOWN:
      if (copy.punkVal != nullptr) copy.punkVal->AddRef();
      return S_OK;
    case VT_DISPATCH:
      if (copy.pdispVal != nullptr) copy.pdispVal->AddRef();
      return S_OK;
    default:
      return S_OK;
  }
}

}  // namespace

void VariantInit(VARIANT* variant) {
  if (variant != nullptr) *variant = VARIANT{};
}

HRESULT VariantClear(VARIANT* variant) {
  if (variant == nullptr) return E_INVALIDARG;
  if (!is_known_type(variant->vt)) return DISP_E_BADVARTYPE;
  const VARIANT held = *variant;
  const bool holds_array = (held.vt & VT_ARRAY) != 0 && (held.vt & VT_BYREF) == 0;
  if (holds_array && held.parray != nullptr && held.parray->cLocks != 0) return DISP_E_ARRAYISLOCKED;
  // Empty before anything is let go: a last Release() may come back to this variant.
  VariantInit(variant);
  if (holds_array) return SafeArrayDestroy(held.parray);
  switch (held.vt) {
    case VT_BSTR:
      SysFreeString(held.bstrVal);
      break;
    case VT_UNKNOWN:
      if (held.punkVal != nullptr) held.punkVal->Release();
      break;
    case VT_DISPATCH:
      if (held.pdispVal != nullptr) held.pdispVal->Release();
      break;
    default:
      break;
  }
  return S_OK;
}

HRESULT VariantCopy(VARIANT* to, const VARIANT* from) {
  if (to == nullptr || from == nullptr) return E_INVALIDARG;
  if (to == from) return S_OK;
  if (!is_known_type(from->vt)) return DISP_E_BADVARTYPE;
  // The copy comes first: `from` may be part of what `to` gives up.
  VARIANT copy = *from;
  HRESULT result = own(copy);
  if (FAILED(result)) return result;
  result = VariantClear(to);
  if (FAILED(result)) {
    VariantClear(&copy);
    return result;
  }
  *to = copy;
  return S_OK;
}
