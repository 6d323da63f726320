#include "python/src/members.h"

#include <array>
#include <memory>

#include "kestrine/text.h"
#include "python/src/failure.h"

namespace py = pybind11;

namespace kestrine::python {
namespace {

// Descriptions go back to the type information they came from.
auto attributes_of(ITypeInfo& type) {
  TYPEATTR* attributes = nullptr;
  require(type.GetTypeAttr(&attributes));
  const auto release = [&type](TYPEATTR* given) { type.ReleaseTypeAttr(given); };
  return std::unique_ptr<TYPEATTR, decltype(release)>(attributes, release);
}

auto function_of(ITypeInfo& type, UINT index) {
  FUNCDESC* function = nullptr;
  require(type.GetFuncDesc(index, &function));
  const auto release = [&type](FUNCDESC* given) { type.ReleaseFuncDesc(given); };
  return std::unique_ptr<FUNCDESC, decltype(release)>(function, release);
}

constexpr UINT kMostNames = 96;

std::vector<std::string> names_of(ITypeInfo& type, MEMBERID member) {
  std::array<BSTR, kMostNames> texts{};
  UINT count = 0;
  require(type.GetNames(member, texts.data(), kMostNames, &count));
  std::vector<std::string> names;
  for (UINT i = 0; i < count; ++i) {
    Text text;
    *text.put() = texts[i];
    names.push_back(text.utf8());
  }
  return names;
}

void read_type(ITypeInfo& type, const TYPEDESC& given, const py::dict& converters, Parameter& parameter) {
  const TYPEDESC* description = &given;
  while (description->vt == VT_PTR) description = description->lptdesc;
  parameter.type = description->vt;
  parameter.convert = py::none();
  if (parameter.type != VT_USERDEFINED) return;
  Pointer<ITypeInfo> named;
  require(type.GetRefTypeInfo(description->hreftype, named.put()));
  const auto attributes = attributes_of(*named);
  if (attributes->typekind != TKIND_ENUM && attributes->typekind != TKIND_RECORD) {
    parameter.type = VT_UNKNOWN;
    return;
  }
  parameter.type = attributes->typekind == TKIND_ENUM ? VT_I4 : VT_RECORD;
  parameter.type_name = name_of(*named);
  if (converters.contains(parameter.type_name)) parameter.convert = converters[parameter.type_name.c_str()];
  if (parameter.type == VT_RECORD) parameter.record = named;
}

Member read_member(ITypeInfo& type, UINT index, const py::dict& converters) {
  const auto function = function_of(type, index);
  const std::vector<std::string> names = names_of(type, function->memid);
  Member member{function->memid, names.at(0), static_cast<WORD>(function->invkind), {}, {}, py::none()};
  for (SHORT i = 0; i < function->cParams; ++i) {
    const ELEMDESC& element = function->lprgelemdescParam[i];
    Parameter parameter;
    const auto place = static_cast<std::size_t>(i) + 1;
    parameter.name = place < names.size() ? names[place] : member.name;  // that of a property that is set has none
    parameter.out = (element.paramdesc.wParamFlags & PARAMFLAG_FOUT) != 0;
    read_type(type, element.tdesc, converters, parameter);
    if (!parameter.out) member.inputs.push_back(i);
    member.parameters.push_back(std::move(parameter));
  }
  if (function->invkind == INVOKE_PROPERTYGET) {
    Parameter value{"value", true, VT_EMPTY, {}, {}, {}};
    read_type(type, function->elemdescFunc.tdesc, converters, value);
    member.parameters = {std::move(value)};
  }
  return member;
}

}  // namespace

Pointer<ITypeInfo> type_of(IDispatch& object) {
  Pointer<ITypeInfo> type;
  require(object.GetTypeInfo(0, LOCALE_USER_DEFAULT, type.put()));
  return type;
}

Pointer<ITypeInfo> events_of(IUnknown& object) {
  Pointer<IProvideClassInfo> provider;
  if (FAILED(object.QueryInterface(IID_IProvideClassInfo, provider.put_void()))) return {};
  Pointer<ITypeInfo> type;
  require(provider->GetClassInfo(type.put()));
  const auto attributes = attributes_of(*type);
  for (UINT i = 0; i < attributes->cImplTypes; ++i) {
    INT flags = 0;
    require(type->GetImplTypeFlags(i, &flags));
    if (flags != (IMPLTYPEFLAG_FDEFAULT | IMPLTYPEFLAG_FSOURCE)) continue;
    HREFTYPE reference = 0;
    Pointer<ITypeInfo> events;
    require(type->GetRefTypeOfImplType(i, &reference));
    require(type->GetRefTypeInfo(reference, events.put()));
    return events;
  }
  return {};
}

std::string name_of(ITypeInfo& type) {
  Text name;
  require(type.GetDocumentation(MEMBERID_NIL, name.put(), nullptr, nullptr, nullptr));
  return name.utf8();
}

GUID id_of(ITypeInfo& type) {
  return attributes_of(type)->guid;
}

std::vector<Member> read_members(ITypeInfo& type, const py::dict& converters) {
  std::vector<Member> members;
  const UINT count = attributes_of(type)->cFuncs;
  for (UINT i = 0; i < count; ++i) members.push_back(read_member(type, i, converters));
  return members;
}

}  // namespace kestrine::python
