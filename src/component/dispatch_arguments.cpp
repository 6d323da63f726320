#include "component/dispatch_arguments.h"

#include "component/record_info.h"
#include "kestrine/text.h"
#include "kestrine/type_info.h"

namespace kestrine::component {
namespace {

VARIANTARG& referred(VARIANTARG& given) {
  return given.vt == (VT_BYREF | VT_VARIANT) && given.pvarVal != nullptr ? *given.pvarVal : given;
}

// The memory of a record, when the variant holds one of that type.
void* record_in(const VARIANTARG& given, const TypeRow& type) {
  if ((given.vt & ~VT_BYREF) != VT_RECORD || given.record.pRecInfo == nullptr) return nullptr;
  Text name;
  ULONG size = 0;
  IRecordInfo& info = *given.record.pRecInfo;
  if (FAILED(info.GetName(name.put())) || FAILED(info.GetSize(&size))) return nullptr;
  return name.view() == type.name && size == type.size ? given.record.pvRecord : nullptr;
}

HRESULT create_record(const TypeRow& type, VARIANT& held) {
  IRecordInfo* info = nullptr;
  if (const HRESULT made = make_record_info(type, &info); FAILED(made)) return made;
  held.record = {info->RecordCreate(), info};
  held.vt = VT_RECORD;  // clearing it lets go of both
  return held.record.pvRecord == nullptr ? E_OUTOFMEMORY : S_OK;
}

const TypeRow& type_of(const ParamRow& param) {
  return types()[static_cast<std::size_t>(param.type.named)];
}

// Scripts can do nothing with an object that cannot be called by name.
void prefer_dispatch(VARIANT& held) {
  IDispatch* object = nullptr;
  if (held.punkVal == nullptr) return;
  if (FAILED(held.punkVal->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(&object)))) return;
  held.punkVal->Release();
  held.pdispVal = object;
  held.vt = VT_DISPATCH;
}

}  // namespace

DispatchArguments::~DispatchArguments() {
  for (std::size_t i = 0; i < bound_; ++i) VariantClear(&places_[i].held);
}

HRESULT DispatchArguments::bind(const DISPPARAMS& given, VARIANT* result, UINT* bad) {
  if (member_.kind == MemberKind::kGet) {
    if (given.cArgs != 0) return DISP_E_BADPARAMCOUNT;
    return hold_output(member_.params[0], result, bound_++);
  }
  std::array<VARIANTARG*, kMost> found;
  if (const HRESULT matched = match(given, found, bad); FAILED(matched)) return matched;
  for (std::size_t i = 0; i < member_.params.size(); ++i) {
    const ParamRow& param = member_.params[i];
    places_[bound_++] = {};
    const HRESULT fits = param.out ? bind_output(param, *found[i], i) : bind_input(param, *found[i], i);
    if (SUCCEEDED(fits)) continue;
    if (bad != nullptr) *bad = static_cast<UINT>(found[i] - given.rgvarg);
    return fits;
  }
  return S_OK;
}

// Positional arguments come last one first, behind the named ones.
HRESULT DispatchArguments::match(const DISPPARAMS& given, std::array<VARIANTARG*, kMost>& found, UINT* bad) const {
  const std::size_t count = member_.params.size();
  UINT named = given.cNamedArgs;
  if (member_.kind == MemberKind::kPut && named == 1 && given.rgdispidNamedArgs[0] == DISPID_PROPERTYPUT) named = 0;
  if (given.cArgs > count || named > given.cArgs) return DISP_E_BADPARAMCOUNT;
  found.fill(nullptr);
  for (UINT i = 0; i < given.cArgs - named; ++i) found[i] = &given.rgvarg[given.cArgs - 1 - i];
  for (UINT i = 0; i < named; ++i) {
    const DISPID id = given.rgdispidNamedArgs[i];
    if (id < 0 || static_cast<std::size_t>(id) >= count || found[static_cast<std::size_t>(id)] != nullptr) {
      if (bad != nullptr) *bad = i;
      return DISP_E_PARAMNOTFOUND;
    }
    found[static_cast<std::size_t>(id)] = &given.rgvarg[i];
  }
  for (std::size_t i = 0; i < count; ++i) {
    if (found[i] == nullptr) return named == 0 ? DISP_E_BADPARAMCOUNT : DISP_E_PARAMNOTOPTIONAL;
    if (found[i]->vt != VT_ERROR || found[i]->scode != DISP_E_PARAMNOTFOUND) continue;
    if (bad != nullptr) *bad = static_cast<UINT>(found[i] - given.rgvarg);
    return DISP_E_PARAMNOTOPTIONAL;
  }
  return S_OK;
}

HRESULT DispatchArguments::bind_input(const ParamRow& param, VARIANTARG& given, std::size_t i) {
  commands::Argument& value = values_[i];
  const VARTYPE type = param.type.type;
  if (type == VT_VARIANT) {
    value.variant = &referred(given);
    return S_OK;
  }
  if (type == VT_RECORD) {
    value.record = record_in(referred(given), type_of(param));
    return value.record == nullptr ? DISP_E_TYPEMISMATCH : S_OK;
  }
  const VARIANT* from = &given;
  if (given.vt != type) {
    from = &places_[i].held;
    if (const HRESULT result = VariantChangeType(&places_[i].held, &given, 0, type); FAILED(result)) return result;
  }
  switch (type) {
    case VT_I4:
      value.i32 = from->lVal;
      return S_OK;
    case VT_R8:
      value.f64 = from->dblVal;
      return S_OK;
    case VT_BOOL:
      value.boolean = from->boolVal;
      return S_OK;
    case VT_BSTR:
      value.text = from->bstrVal;
      return S_OK;
    default:
      return DISP_E_BADVARTYPE;
  }
}

HRESULT DispatchArguments::bind_output(const ParamRow& param, VARIANTARG& given, std::size_t i) {
  const VARTYPE type = param.type.type;
  if (given.vt == (VT_BYREF | VT_VARIANT)) {
    if (given.pvarVal == nullptr) return E_POINTER;
    // A variant that holds a record of the right type has it filled; any other is replaced.
    if (type != VT_RECORD || record_in(*given.pvarVal, type_of(param)) == nullptr) {
      return hold_output(param, given.pvarVal, i);
    }
  }
  if (type == VT_RECORD) {
    values_[i].out = record_in(referred(given), type_of(param));
    return values_[i].out == nullptr ? DISP_E_TYPEMISMATCH : S_OK;
  }
  if (given.vt != (VT_BYREF | type) && !(type == VT_I4 && given.vt == (VT_BYREF | VT_INT))) return DISP_E_TYPEMISMATCH;
  if (given.byref == nullptr) return E_POINTER;
  if (type == VT_BSTR) {  // what the caller had there goes when the call is over
    places_[i].held.bstrVal = *given.pbstrVal;
    places_[i].held.vt = VT_BSTR;
    *given.pbstrVal = nullptr;
  }
  values_[i].out = given.byref;
  return S_OK;
}

HRESULT DispatchArguments::hold_output(const ParamRow& param, VARIANT* target, std::size_t i) {
  Place& place = places_[i];
  place = {};
  place.target = target;
  const VARTYPE type = param.type.type;
  if (type == VT_RECORD) {
    const HRESULT result = create_record(type_of(param), place.held);
    values_[i].out = place.held.record.pvRecord;
    return result;
  }
  if (type == VT_VARIANT) {
    values_[i].out = &place.held;
    return S_OK;
  }
  place.held.vt = type;  // its value is 0 until the member sets it
  values_[i].out = &place.held.llVal;
  return S_OK;
}

void DispatchArguments::hand_out() {
  for (std::size_t i = 0; i < bound_; ++i) {
    Place& place = places_[i];
    if (place.target == nullptr) continue;
    if (place.held.vt == VT_UNKNOWN) prefer_dispatch(place.held);
    VariantClear(place.target);
    *place.target = place.held;
    place.held.vt = VT_EMPTY;
  }
}

}  // namespace kestrine::component
