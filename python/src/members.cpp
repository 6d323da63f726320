#include "python/src/members.h"

#include <array>

#include "kestrine/text.h"
#include "python/src/failure.h"

namespace py = pybind11;

namespace kestrine::python {
namespace {

// A description that goes back to the type information it came from.
template <class Description, auto Release>
class Lent {
 public:
  explicit Lent(ITypeInfo& type) : type_(type) {}
  ~Lent() {
    if (description_ != nullptr) (type_.*Release)(description_);
  }
  Lent(const Lent&) = delete;
  Lent& operator=(const Lent&) = delete;

  Description** put() { return &description_; }
  const Description* operator->() const { return description_; }

 private:
  ITypeInfo& type_;
  Description* description_ = nullptr;
};

using Attributes = Lent<TYPEATTR, &ITypeInfo::ReleaseTypeAttr>;
using Function = Lent<FUNCDESC, &ITypeInfo::ReleaseFuncDesc>;

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
  Attributes attributes(*named);
  require(named->GetTypeAttr(attributes.put()));
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
  Function function(type);
  require(type.GetFuncDesc(index, function.put()));
  const std::vector<std::string> names = names_of(type, function->memid);
  Member member{function->memid, names.at(0), static_cast<WORD>(function->invkind), {}, {}};
  for (SHORT i = 0; i < function->cParams; ++i) {
    const ELEMDESC& element = function->lprgelemdescParam[i];
    Parameter parameter;
    // The value of a property that is set has no name.
    const auto place = static_cast<std::size_t>(i) + 1;
    parameter.name = place < names.size() ? names[place] : "value";
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
  Attributes attributes(*type);
  require(type->GetTypeAttr(attributes.put()));
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
  Attributes attributes(type);
  require(type.GetTypeAttr(attributes.put()));
  return attributes->guid;
}

std::vector<Member> read_members(ITypeInfo& type, const py::dict& converters) {
  std::vector<Member> members;
  UINT count = 0;
  {
    Attributes attributes(type);
    require(type.GetTypeAttr(attributes.put()));
    count = attributes->cFuncs;
  }
  for (UINT i = 0; i < count; ++i) members.push_back(read_member(type, i, converters));
  return members;
}

}  // namespace kestrine::python
