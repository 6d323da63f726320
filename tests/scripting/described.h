// Type information read back into text, by the public interfaces alone.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>

#include "kestrine/pointer.h"
#include "kestrine/text.h"
#include "kestrine/type_info.h"
#include "scripting/type_library.h"

namespace kestrine::test {

inline Pointer<ITypeLib> type_library() {
  Pointer<ITypeLib> library;
  EXPECT_EQ(scripting::get_type_library(library.put()), S_OK);
  return library;
}

inline Pointer<ITypeInfo> type_at(UINT index) {
  Pointer<ITypeInfo> info;
  EXPECT_EQ(type_library()->GetTypeInfo(index, info.put()), S_OK) << index;
  return info;
}

inline Pointer<ITypeInfo> type_named(const char* name) {
  ITypeInfo* found = nullptr;
  MEMBERID id = 0;
  USHORT count = 1;
  EXPECT_EQ(type_library()->FindName(Text(name), 0, &found, &id, &count), S_OK);
  EXPECT_TRUE(count == 1 && id == MEMBERID_NIL) << name;
  return Pointer<ITypeInfo>::adopt(found);
}

inline std::string name_of(ITypeInfo& info, MEMBERID member = MEMBERID_NIL) {
  Text name;
  return SUCCEEDED(info.GetDocumentation(member, name.put(), nullptr, nullptr, nullptr)) ? name.utf8() : "?";
}

inline TYPEATTR attributes_of(ITypeInfo& info) {
  TYPEATTR* attributes = nullptr;
  EXPECT_EQ(info.GetTypeAttr(&attributes), S_OK);
  const TYPEATTR copy = *attributes;
  info.ReleaseTypeAttr(attributes);
  return copy;
}

inline Pointer<ITypeInfo> referred(ITypeInfo& info, HREFTYPE reference) {
  Pointer<ITypeInfo> target;
  EXPECT_EQ(info.GetRefTypeInfo(reference, target.put()), S_OK);
  return target;
}

inline Pointer<ITypeInfo> base_of(ITypeInfo& info, UINT index = 0) {
  HREFTYPE reference = 0;
  EXPECT_EQ(info.GetRefTypeOfImplType(index, &reference), S_OK);
  return referred(info, reference);
}

// "long", "VL_MeasMode", "double*".
inline std::string told(ITypeInfo& info, const TYPEDESC& type) {
  static const std::map<VARTYPE, const char*> words = {
      {VT_I4, "long"},         {VT_R8, "double"},    {VT_BOOL, "bool"},      {VT_BSTR, "text"}, {VT_VARIANT, "variant"},
      {VT_UNKNOWN, "unknown"}, {VT_VOID, "nothing"}, {VT_HRESULT, "status"}, {VT_UI1, "byte"},  {VT_UI2, "unit"}};
  if (type.vt == VT_PTR) return told(info, *type.lptdesc) + "*";
  if (type.vt == VT_USERDEFINED) return name_of(*referred(info, type.hreftype));
  const auto word = words.find(type.vt);
  return word != words.end() ? word->second : "type " + std::to_string(type.vt);
}

// "7 nothing GetData(out variant* data)"
inline std::string signature(ITypeInfo& info, UINT index) {
  FUNCDESC* function = nullptr;
  EXPECT_EQ(info.GetFuncDesc(index, &function), S_OK);
  BSTR names[65];
  UINT count = 0;
  EXPECT_EQ(info.GetNames(function->memid, names, 65, &count), S_OK);
  const auto name = [&](UINT i) { return to_utf8({names[i], SysStringLen(names[i])}); };
  std::ostringstream line;
  if (function->invkind == INVOKE_PROPERTYGET) line << "get ";
  if (function->invkind == INVOKE_PROPERTYPUT) line << "put ";
  line << function->memid << ' ' << told(info, function->elemdescFunc.tdesc) << ' ' << name(0) << '(';
  for (UINT i = 0; i < static_cast<UINT>(function->cParams); ++i) {
    const ELEMDESC& parameter = function->lprgelemdescParam[i];
    line << (i == 0 ? "" : ", ") << ((parameter.paramdesc.wParamFlags & PARAMFLAG_FOUT) != 0 ? "out " : "in ");
    if ((parameter.paramdesc.wParamFlags & PARAMFLAG_FRETVAL) != 0) line << "result ";
    line << told(info, parameter.tdesc);
    if (i + 1 < count) line << ' ' << name(i + 1);
  }
  line << ')';
  for (UINT i = 0; i < count; ++i) SysFreeString(names[i]);
  info.ReleaseFuncDesc(function);
  return line.str();
}

}  // namespace kestrine::test
