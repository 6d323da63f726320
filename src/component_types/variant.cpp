#include <cstring>

#include "component_types/variant_types.h"
#include "kestrine/type_info.h"

namespace kestrine::component_types {
bool is_variant_type(VARTYPE type) {
  constexpr VARTYPE kFlags = VT_ARRAY | VT_BYREF;
  const int base = type & ~kFlags;
  if (base == VT_VARIANT) return (type & kFlags) != 0;
  if (base == VT_RECORD) return (type & VT_ARRAY) == 0;
  return base <= VT_UNKNOWN || (base >= VT_I1 && base <= VT_UINT);
}

HRESULT make_own(VARIANT& copy) {
  if ((copy.vt & VT_BYREF) != 0) return S_OK;
  if ((copy.vt & VT_ARRAY) != 0) return SafeArrayCopy(copy.parray, &copy.parray);
  switch (copy.vt) {
    case VT_BSTR:
      if (copy.bstrVal == nullptr) return S_OK;
      copy.bstrVal = SysAllocStringLen(copy.bstrVal, SysStringLen(copy.bstrVal));
      return copy.bstrVal != nullptr ? S_OK : E_OUTOFMEMORY;
    case VT_UNKNOWN:
    case VT_DISPATCH:  // begins with an IUnknown
      if (copy.punkVal != nullptr) copy.punkVal->AddRef();
      return S_OK;
    case VT_RECORD: {
      const RecordValue from = copy.record;
      copy.record.pvRecord = nullptr;
      if (from.pRecInfo == nullptr) return from.pvRecord == nullptr ? S_OK : E_INVALIDARG;
      if (from.pvRecord != nullptr) {
        const HRESULT result = from.pRecInfo->RecordCreateCopy(from.pvRecord, &copy.record.pvRecord);
        if (FAILED(result)) return result;
      }
      from.pRecInfo->AddRef();
      return S_OK;
    }
    default:
      return S_OK;
  }
}

HRESULT dereference(const VARIANT& from, VARIANT& value) {
  if (!is_variant_type(from.vt)) return DISP_E_BADVARTYPE;
  value = from;
  if ((from.vt & VT_BYREF) == 0) return S_OK;
  value.vt = static_cast<VARTYPE>(from.vt & ~VT_BYREF);
  if (value.vt == VT_RECORD) return S_OK;
  if (from.byref == nullptr) return E_INVALIDARG;
  if ((value.vt & VT_ARRAY) != 0) {
    value.parray = *from.pparray;
    return S_OK;
  }
  if (value.vt == VT_VARIANT) {
    // One step further, but not on and on: references could go round in a circle.
    return from.pvarVal->vt == (VT_BYREF | VT_VARIANT) ? E_INVALIDARG : dereference(*from.pvarVal, value);
  }
  const ULONG size = value_size(value.vt);
  if (size == 0) return DISP_E_BADVARTYPE;
  std::memcpy(&value.llVal, from.byref, size);
  return S_OK;
}

HRESULT replace(VARIANT& to, VARIANT value) {
  const HRESULT result = VariantClear(&to);
  if (FAILED(result)) {
    VariantClear(&value);
    return result;
  }
  to = value;
  return S_OK;
}

}  // namespace kestrine::component_types

using namespace kestrine::component_types;

void VariantInit(VARIANT* variant) {
  if (variant != nullptr) *variant = VARIANT{};
}

HRESULT VariantClear(VARIANT* variant) {
  if (variant == nullptr) return E_INVALIDARG;
  if (!is_variant_type(variant->vt)) return DISP_E_BADVARTYPE;
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
    case VT_DISPATCH:  // begins with an IUnknown
      if (held.punkVal != nullptr) held.punkVal->Release();
      break;
    case VT_RECORD:
      if (held.record.pRecInfo == nullptr) break;
      if (held.record.pvRecord != nullptr) held.record.pRecInfo->RecordDestroy(held.record.pvRecord);
      held.record.pRecInfo->Release();
      break;
    default:
      break;
  }
  return S_OK;
}

HRESULT VariantCopy(VARIANT* to, const VARIANT* from) {
  if (to == nullptr || from == nullptr) return E_INVALIDARG;
  if (to == from) return S_OK;
  if (!is_variant_type(from->vt)) return DISP_E_BADVARTYPE;
  // The copy comes first: `from` may be part of what `to` gives up.
  VARIANT copy = *from;
  const HRESULT result = make_own(copy);
  return FAILED(result) ? result : replace(*to, copy);
}

HRESULT VariantCopyInd(VARIANT* to, const VARIANT* from) {
  if (to == nullptr || from == nullptr) return E_INVALIDARG;
  VARIANT value;
  const HRESULT result = dereference(*from, value);
  if (FAILED(result)) return result;
  return to == from && to->vt == value.vt ? S_OK : VariantCopy(to, &value);
}
