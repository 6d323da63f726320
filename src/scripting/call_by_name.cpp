#include "scripting/call_by_name.h"

#include <string_view>

#include "kestrine/com_error.h"
#include "kestrine/pointer.h"
#include "scripting/call_arguments.h"

namespace kestrine::scripting {
namespace {

// A call that could as well be the reading of a property says both; one that says only the other is refused.
bool is_asked_for(MemberKind kind, WORD flags) {
  switch (kind) {
    case MemberKind::kMethod:
      return (flags & DISPATCH_METHOD) != 0;
    case MemberKind::kGet:
      return (flags & DISPATCH_PROPERTYGET) != 0;
    case MemberKind::kPut:
      return (flags & DISPATCH_PROPERTYPUT) != 0;
  }
  return false;
}

DISPID parameter_id(const MemberRow& member, std::u16string_view name) {
  for (std::size_t i = 0; i < member.values.size(); ++i) {
    if (same_name(member.values[i].name, name)) return static_cast<DISPID>(i);
  }
  return DISPID_UNKNOWN;
}

// Taking the thread's error information clears it, so it is put back.
Pointer<IErrorInfo> thread_error() {
  Pointer<IErrorInfo> info;
  GetErrorInfo(0, info.put());
  SetErrorInfo(0, info.get());
  return info;
}

void fill(EXCEPINFO& exception, HRESULT code, IErrorInfo* info) {
  exception = {};
  exception.scode = code;
  if (info == nullptr) return;
  info->GetSource(&exception.bstrSource);
  info->GetDescription(&exception.bstrDescription);
}

HRESULT call_member(Callee& callee, DISPID member, commands::Argument* arguments) {
  try {
    return callee.call(member, arguments);
  } catch (const _com_error& error) {
    return error.Error();  // the policy throws to callers in C++; by name the exception record says the same
  }
}

}  // namespace

HRESULT find_names(const TypeRow& type, REFIID reserved, LPOLESTR* names, UINT count, DISPID* ids) {
  if (reserved != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
  if (names == nullptr || ids == nullptr) return E_POINTER;
  const MemberRow* member = count == 0 || names[0] == nullptr ? nullptr : find_member(type, names[0]);
  HRESULT result = S_OK;
  for (UINT i = 0; i < count; ++i) {
    ids[i] = DISPID_UNKNOWN;
    if (member != nullptr && names[i] != nullptr) ids[i] = i == 0 ? member->dispid : parameter_id(*member, names[i]);
    if (ids[i] == DISPID_UNKNOWN) result = DISP_E_UNKNOWNNAME;
  }
  return result;
}

HRESULT invoke(const TypeRow& type, Callee& callee, DISPID member, REFIID reserved, WORD flags, DISPPARAMS* given,
               VARIANT* result, EXCEPINFO* exception, UINT* bad_argument) {
  if (reserved != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
  if (given == nullptr) return E_POINTER;
  const MemberRow* row = find_member(type, member);
  if (row == nullptr || !is_asked_for(row->kind, flags)) return DISP_E_MEMBERNOTFOUND;
  if (result != nullptr) VariantInit(result);

  DispatchArguments arguments(*row);
  if (const HRESULT bound = arguments.bind(*given, result, bad_argument); FAILED(bound)) return bound;
  const Pointer<IErrorInfo> before = thread_error();
  const HRESULT code = call_member(callee, member, arguments.values());
  if (SUCCEEDED(code)) {
    const HRESULT handed = arguments.hand_out();
    return SUCCEEDED(handed) ? code : handed;
  }
  const Pointer<IErrorInfo> now = thread_error();
  if (exception != nullptr) fill(*exception, code, now.get() == before.get() ? nullptr : now.get());
  return DISP_E_EXCEPTION;
}

}  // namespace kestrine::scripting
