#include "scripting/call_arguments.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "dispatch/variant_value.h"
#include "kestrine/text.h"
#include "kestrine/type_info.h"
#include "scripting/record_info.h"

namespace kestrine::scripting {
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
  return std::ranges::equal(name.view(), std::string_view(type.name)) && size == type.size ? given.record.pvRecord
                                                                                           : nullptr;
}

HRESULT create_record(const TypeRow& type, VARIANT& held) {
  IRecordInfo* info = nullptr;
  if (const HRESULT made = make_record_info(type, &info); FAILED(made)) return made;
  held.record = {info->RecordCreate(), info};
  held.vt = VT_RECORD;  // clearing it lets go of both
  return held.record.pvRecord == nullptr ? E_OUTOFMEMORY : S_OK;
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

bool is_owning(VARTYPE type) {
  return type == VT_BSTR || type == VT_UNKNOWN;
}

// Of an output's value, as it lies in the caller's memory.
std::size_t size_of(VARTYPE type) {
  if (type == VT_BOOL) return sizeof(VARIANT_BOOL);
  return type == VT_I4 ? sizeof(LONG) : sizeof(VARIANT::llVal);
}

void swap_bytes(void* one, void* other, std::size_t count) {
  std::swap_ranges(static_cast<char*>(one), static_cast<char*>(one) + count, static_cast<char*>(other));
}

// What clearing the variant would come to.
HRESULT check_replaceable(const VARIANT& variant) {
  const bool holds_array = (variant.vt & VT_ARRAY) != 0 && (variant.vt & VT_BYREF) == 0 && variant.parray != nullptr;
  if (holds_array && variant.parray->cLocks != 0) return DISP_E_ARRAYISLOCKED;
  VARIANT empty{};
  empty.vt = variant.vt;
  return VariantClear(&empty);
}

}  // namespace

DispatchArguments::~DispatchArguments() {
  for (std::size_t i = 0; i < bound_; ++i) VariantClear(&places_[i].held);
}

HRESULT DispatchArguments::bind(const DISPPARAMS& given, VARIANT* result, UINT* bad) {
  if (member_.kind == MemberKind::kGet) {
    if (given.cArgs != 0 || given.cNamedArgs != 0) return DISP_E_BADPARAMCOUNT;
    places_[bound_++] = {{}, result, nullptr};
    return hold_output(member_.values[0], 0);
  }
  Matches found;
  if (const HRESULT matched = match(given, found, bad); FAILED(matched)) return matched;
  for (std::size_t i = 0; i < member_.values.size(); ++i) {
    const Value& param = member_.values[i];
    places_[bound_++] = {};
    const HRESULT fits = param.out ? bind_output(param, *found[i], i) : bind_input(param, *found[i], i);
    if (SUCCEEDED(fits)) continue;
    if (bad != nullptr) *bad = static_cast<UINT>(found[i] - given.rgvarg);
    return fits;
  }
  return S_OK;
}

// Positional arguments come last one first, behind the named ones.
HRESULT DispatchArguments::match(const DISPPARAMS& given, Matches& found, UINT* bad) const {
  const std::size_t count = member_.values.size();
  UINT named = given.cNamedArgs;
  if (given.cArgs > count || named > given.cArgs) return DISP_E_BADPARAMCOUNT;
  if ((given.cArgs != 0 && given.rgvarg == nullptr) || (named != 0 && given.rgdispidNamedArgs == nullptr)) {
    return E_INVALIDARG;
  }
  if (member_.kind == MemberKind::kPut && named == 1 && given.rgdispidNamedArgs[0] == DISPID_PROPERTYPUT) named = 0;
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

HRESULT DispatchArguments::bind_input(const Value& param, VARIANTARG& given, std::size_t i) {
  commands::Argument& value = values_[i];
  const VARTYPE type = dispatch::forms_of(param.type).argument;
  if (type == VT_VARIANT) {
    value.variant = &referred(given);
    return S_OK;
  }
  if (type == VT_RECORD) {
    value.record = record_in(referred(given), *param.named);
    return value.record == nullptr ? DISP_E_TYPEMISMATCH : S_OK;
  }
  const VARIANT* from = &given;
  if (given.vt != type) {
    from = &places_[i].held;
    if (const HRESULT result = VariantChangeType(&places_[i].held, &given, 0, type); FAILED(result)) return result;
  }
  if (type == VT_BOOL) {
    value.i32 = from->boolVal;
  } else {
    std::memcpy(&value, &from->llVal, sizeof value);  // both are unions of the same values
  }
  return S_OK;
}

HRESULT DispatchArguments::bind_output(const Value& param, VARIANTARG& given, std::size_t i) {
  auto& [held, variant, value] = places_[i];
  const VARTYPE type = dispatch::forms_of(param.type).argument;
  const bool is_variant = given.vt == (VT_BYREF | VT_VARIANT);
  const bool is_value = type == VT_RECORD
                            ? record_in(given, *param.named) != nullptr
                            : given.vt == (VT_BYREF | type) || (type == VT_I4 && given.vt == (VT_BYREF | VT_INT));
  if (!is_variant && !is_value) return DISP_E_TYPEMISMATCH;
  if ((is_variant || type != VT_RECORD) && given.byref == nullptr) return E_POINTER;
  if (is_variant || type == VT_RECORD) {
    variant = &referred(given);
    if (const HRESULT result = check_replaceable(*variant); FAILED(result)) return result;
  } else {
    value = given.byref;
  }
  if (const HRESULT result = hold_output(param, i); FAILED(result)) return result;
  // What the member leaves alone stays as the caller has it.
  if (type == VT_RECORD) {
    void* const record = record_in(*variant, *param.named);
    return record == nullptr ? S_OK : held.record.pRecInfo->RecordCopy(record, held.record.pvRecord);
  }
  if (value != nullptr && !is_owning(type)) std::memcpy(&held.llVal, value, size_of(type));
  return S_OK;
}

HRESULT DispatchArguments::hold_output(const Value& param, std::size_t i) {
  VARIANT& held = places_[i].held;
  const VARTYPE type = dispatch::forms_of(param.type).argument;
  if (type == VT_RECORD) {
    const HRESULT result = create_record(*param.named, held);
    values_[i].out = held.record.pvRecord;
    return result;
  }
  if (type == VT_VARIANT) {
    values_[i].out = &held;
    return S_OK;
  }
  held.vt = type;  // its value is 0 until the member sets it
  values_[i].out = &held.llVal;
  return S_OK;
}

HRESULT DispatchArguments::hand_out() {
  // Handlers may have changed the variants since they were bound.
  for (std::size_t i = 0; i < bound_; ++i) {
    const VARIANT* const variant = places_[i].variant;
    if (variant == nullptr) continue;
    if (const HRESULT result = check_replaceable(*variant); FAILED(result)) return result;
  }
  for (std::size_t i = 0; i < bound_; ++i) {
    auto& [held, variant, value] = places_[i];
    if (value != nullptr) {
      if (!is_owning(held.vt) || held.byref != nullptr) swap_bytes(value, &held.llVal, size_of(held.vt));
    } else if (variant != nullptr) {
      // A variant that holds a record of the right type has it filled; any other is replaced.
      void* const record = held.vt == VT_RECORD ? record_in(*variant, *member_.values[i].named) : nullptr;
      if (record != nullptr) {
        held.record.pRecInfo->RecordCopy(held.record.pvRecord, record);
        continue;
      }
      if (held.vt == VT_UNKNOWN) prefer_dispatch(held);
      std::swap(*variant, held);
    }
  }
  return S_OK;
}

}  // namespace kestrine::scripting
