#include "scripting/type_info.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "component_types/error_info.h"
#include "component_types/record_source.h"
#include "scripting/call_by_name.h"
#include "scripting/record_info.h"
#include "scripting/type_description.h"
#include "scripting/type_library.h"

namespace kestrine::scripting {

using component_types::guarded;

namespace {

// What all interfaces derive from. They belong to the system's own library, so they have a name and an identifier
// here, for callers that follow a type to its root, but no members.
const TypeRow kRoots[] = {
    {.name = "IUnknown", .kind = TypeKind::kInterface, .id = &IID_IUnknown},
    {.name = "IDispatch", .kind = TypeKind::kInterface, .id = &IID_IDispatch},
};

enum class Root { kUnknown, kDispatch };

struct KindAttributes {
  TYPEKIND kind;
  WORD flags;
  ULONG size;
  WORD alignment;
};

KindAttributes attributes_of(const TypeRow& row, Form form) {
  constexpr WORD kDualFlags =
      TYPEFLAG_FDUAL | TYPEFLAG_FNONEXTENSIBLE | TYPEFLAG_FOLEAUTOMATION | TYPEFLAG_FDISPATCHABLE;
  constexpr ULONG kPointer = sizeof(void*);
  switch (row.kind) {
    case TypeKind::kEnumeration:
      return {TKIND_ENUM, 0, sizeof(std::int32_t), alignof(std::int32_t)};
    case TypeKind::kRecord:
      return {TKIND_RECORD, 0, row.size, alignof(std::int32_t)};  // packed: doubles lie at multiples of 4
    case TypeKind::kInterface:
      return {TKIND_INTERFACE, TYPEFLAG_FOLEAUTOMATION, kPointer, kPointer};
    case TypeKind::kDual:
      return {form == Form::kByNumber ? TKIND_DISPATCH : TKIND_INTERFACE, kDualFlags, kPointer, kPointer};
    case TypeKind::kEvents:
      return {TKIND_DISPATCH, TYPEFLAG_FDISPATCHABLE, kPointer, kPointer};
    case TypeKind::kClass:
      break;
  }
  return {TKIND_COCLASS, TYPEFLAG_FCANCREATE | TYPEFLAG_FAGGREGATABLE, kPointer, kPointer};
}

// One form of one type.
class TypeInfo final : public ITypeInfo, public component_types::IRecordSource {
 public:
  TypeInfo(const TypeRow& row, Form form) : row_(&row), form_(form) {}

  const TypeRow& row() const { return *row_; }
  Form form() const { return form_; }

  HRESULT QueryInterface(REFIID iid, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (iid == IID_IUnknown || iid == IID_ITypeInfo) *object = static_cast<ITypeInfo*>(this);
    if (iid == component_types::IID_IRecordSource && row_->kind == TypeKind::kRecord) {
      *object = static_cast<component_types::IRecordSource*>(this);
    }
    if (*object == nullptr) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  ULONG AddRef() override { return ++type_references; }
  ULONG Release() override { return --type_references; }

  HRESULT GetTypeAttr(TYPEATTR** attributes) override;
  HRESULT GetTypeComp(ITypeComp**) override {
    return E_NOTIMPL;  // for compilers; the descriptions say the same
  }
  HRESULT GetFuncDesc(UINT index, FUNCDESC** function) override;
  HRESULT GetVarDesc(UINT index, VARDESC** variable) override;
  HRESULT GetNames(MEMBERID member, BSTR* names, UINT count, UINT* fetched) override;
  HRESULT GetRefTypeOfImplType(UINT index, HREFTYPE* reference) override;
  HRESULT GetImplTypeFlags(UINT index, INT* flags) override;
  HRESULT GetIDsOfNames(LPOLESTR* names, UINT count, MEMBERID* ids) override;
  HRESULT Invoke(void* instance, MEMBERID member, WORD flags, DISPPARAMS* arguments, VARIANT* result,
                 EXCEPINFO* exception, UINT* bad_argument) override;
  HRESULT GetDocumentation(MEMBERID member, BSTR* name, BSTR* text, DWORD* context, BSTR* file) override;
  HRESULT GetDllEntry(MEMBERID, INVOKEKIND, BSTR*, BSTR*, WORD*) override { return TYPE_E_BADMODULEKIND; }
  HRESULT GetRefTypeInfo(HREFTYPE reference, ITypeInfo** info) override;
  HRESULT AddressOfMember(MEMBERID, INVOKEKIND, void**) override { return TYPE_E_BADMODULEKIND; }
  HRESULT CreateInstance(IUnknown*, REFIID, void**) override {
    return E_NOTIMPL;  // classes are created through their class objects
  }
  HRESULT GetMops(MEMBERID, BSTR*) override { return E_NOTIMPL; }  // nothing here crosses a process boundary
  HRESULT GetContainingTypeLib(ITypeLib** library, UINT* index) override;
  HRESULT GetRecordInfo(IRecordInfo** record) override { return make_record_info(*row_, record); }
  void ReleaseTypeAttr(TYPEATTR* attributes) override { delete attributes; }
  void ReleaseFuncDesc(FUNCDESC* function) override { release(function); }
  void ReleaseVarDesc(VARDESC* variable) override { release(variable); }

 private:
  UINT parent_count() const;
  WORD vtable_size() const;

  const TypeRow* row_;
  Form form_;
};

// All that can be referred to: types() in their order, then the vtable forms of the dual interfaces, then the roots.
// A reference is a place in this list.
std::vector<TypeInfo>& type_infos() {
  static auto* const made = [] {
    auto list = std::make_unique<std::vector<TypeInfo>>();
    for (const TypeRow& row : protocol::types()) {
      const bool by_number = row.kind == TypeKind::kDual || row.kind == TypeKind::kEvents;
      list->emplace_back(row, by_number ? Form::kByNumber : Form::kVtable);
    }
    for (const TypeRow& row : protocol::types()) {
      if (row.kind == TypeKind::kDual) list->emplace_back(row, Form::kVtable);
    }
    for (const TypeRow& row : kRoots) list->emplace_back(row, Form::kVtable);
    return list.release();
  }();
  return *made;
}

HREFTYPE reference_to(const TypeRow& row, Form form) {
  const auto& list = type_infos();
  const auto found = std::find_if(list.begin(), list.end(),
                                  [&](const TypeInfo& info) { return &info.row() == &row && info.form() == form; });
  return static_cast<HREFTYPE>(found - list.begin());
}

HREFTYPE reference_to(Root root) {
  return reference_to(kRoots[static_cast<std::size_t>(root)], Form::kVtable);
}

HRESULT TypeInfo::GetTypeAttr(TYPEATTR** attributes) {
  if (attributes == nullptr) return E_POINTER;
  return guarded([&] {
    const auto [kind, flags, size, alignment] = attributes_of(*row_, form_);
    auto* const made = new TYPEATTR{};
    made->guid = row_->id != nullptr ? *row_->id : GUID_NULL;
    made->memidConstructor = made->memidDestructor = MEMBERID_NIL;
    made->cbSizeInstance = size;
    made->typekind = kind;
    made->cFuncs = static_cast<WORD>(row_->members.size());
    made->cVars = static_cast<WORD>(variable_count(*row_));
    made->cImplTypes = static_cast<WORD>(parent_count());
    made->cbSizeVft = vtable_size();
    made->cbAlignment = alignment;
    made->wTypeFlags = flags;
    *attributes = made;
    return S_OK;
  });
}

HRESULT TypeInfo::GetFuncDesc(UINT index, FUNCDESC** function) {
  if (function == nullptr) return E_POINTER;
  *function = nullptr;
  if (index >= row_->members.size()) return TYPE_E_ELEMENTNOTFOUND;
  return guarded([&] {
    *function = describe_function(*row_, form_, index);
    return S_OK;
  });
}

HRESULT TypeInfo::GetVarDesc(UINT index, VARDESC** variable) {
  if (variable == nullptr) return E_POINTER;
  *variable = nullptr;
  if (index >= variable_count(*row_)) return TYPE_E_ELEMENTNOTFOUND;
  return guarded([&] {
    const MEMBERID id = kFirstVariable + static_cast<MEMBERID>(index);
    const bool is_value = row_->kind == TypeKind::kEnumeration;
    *variable = is_value ? describe_value(row_->values[index], id) : describe_field(row_->fields[index], id);
    return S_OK;
  });
}

// The value of a property has no name: not on the right side of an assignment, and not as a result.
HRESULT TypeInfo::GetNames(MEMBERID member, BSTR* names, UINT count, UINT* fetched) {
  if (names == nullptr || fetched == nullptr) return E_POINTER;
  *fetched = 0;
  const char* name = name_of(*row_, member);
  if (name == nullptr) return TYPE_E_ELEMENTNOTFOUND;
  const MemberRow* row = find_member(*row_, member);
  const bool takes_names = row != nullptr && row->kind == MemberKind::kMethod;
  const std::size_t all = 1 + (takes_names ? row->values.size() : 0);
  for (; *fetched < count && *fetched < all; ++*fetched) {
    const HRESULT result = hand_out(*fetched == 0 ? name : row->values[*fetched - 1].name, &names[*fetched]);
    if (SUCCEEDED(result)) continue;
    while (*fetched != 0) SysFreeString(names[--*fetched]);
    return result;
  }
  return S_OK;
}

UINT TypeInfo::parent_count() const {
  switch (row_->kind) {
    case TypeKind::kInterface:
      return row_ == &kRoots[0] ? 0 : 1;
    case TypeKind::kDual:
    case TypeKind::kEvents:
      return 1;
    case TypeKind::kClass:
      return row_->fires == nullptr ? 1 : 2;
    default:
      return 0;
  }
}

WORD TypeInfo::vtable_size() const {
  std::size_t slots = 0;
  if (row_->kind == TypeKind::kInterface) slots = kUnknownSlots + row_->members.size();
  if (row_->kind == TypeKind::kDual || row_->kind == TypeKind::kEvents) slots = kDispatchSlots;
  if (row_->kind == TypeKind::kDual && form_ == Form::kVtable) slots += row_->members.size();
  if (row_ == &kRoots[static_cast<std::size_t>(Root::kDispatch)]) slots = kDispatchSlots;
  return static_cast<WORD>(slots * sizeof(void*));
}

HRESULT TypeInfo::GetRefTypeOfImplType(UINT index, HREFTYPE* reference) {
  constexpr UINT kOtherForm = static_cast<UINT>(-1);
  if (reference == nullptr) return E_POINTER;
  if (index == kOtherForm && row_->kind == TypeKind::kDual) {
    *reference = reference_to(*row_, form_ == Form::kVtable ? Form::kByNumber : Form::kVtable);
    return S_OK;
  }
  if (index >= parent_count()) return TYPE_E_ELEMENTNOTFOUND;
  if (row_->kind == TypeKind::kClass) {
    const TypeRow* const part = index == 0 ? row_->implements : row_->fires;
    *reference = static_cast<HREFTYPE>(part - protocol::types().data());
  } else {
    *reference = reference_to(row_->kind == TypeKind::kInterface ? Root::kUnknown : Root::kDispatch);
  }
  return S_OK;
}

HRESULT TypeInfo::GetImplTypeFlags(UINT index, INT* flags) {
  if (flags == nullptr) return E_POINTER;
  if (index >= parent_count()) return TYPE_E_ELEMENTNOTFOUND;
  *flags = 0;
  if (row_->kind == TypeKind::kClass) *flags = IMPLTYPEFLAG_FDEFAULT | (index == 0 ? 0 : IMPLTYPEFLAG_FSOURCE);
  return S_OK;
}

HRESULT TypeInfo::GetIDsOfNames(LPOLESTR* names, UINT count, MEMBERID* ids) {
  if (!row_->members.empty()) return find_names(*row_, IID_NULL, names, count, ids);
  if (names == nullptr || ids == nullptr) return E_POINTER;
  std::fill_n(ids, count, MEMBERID_NIL);
  if (count == 1 && names[0] != nullptr) ids[0] = find_id(*row_, names[0]);
  return count == 1 && ids[0] != MEMBERID_NIL ? S_OK : DISP_E_UNKNOWNNAME;
}

HRESULT TypeInfo::Invoke(void* instance, MEMBERID member, WORD flags, DISPPARAMS* arguments, VARIANT* result,
                         EXCEPINFO* exception, UINT* bad_argument) {
  if (instance == nullptr) return E_INVALIDARG;
  if (row_->kind != TypeKind::kDual) return E_NOTIMPL;  // only these can be called by number
  return static_cast<IDispatch*>(instance)->Invoke(member, IID_NULL, LOCALE_USER_DEFAULT, flags, arguments, result,
                                                   exception, bad_argument);
}

HRESULT TypeInfo::GetDocumentation(MEMBERID member, BSTR* name, BSTR* text, DWORD* context, BSTR* file) {
  const char* const found = member == MEMBERID_NIL ? row_->name : name_of(*row_, member);
  return found == nullptr ? TYPE_E_ELEMENTNOTFOUND : hand_out_documentation(found, name, text, context, file);
}

HRESULT TypeInfo::GetRefTypeInfo(HREFTYPE reference, ITypeInfo** info) {
  if (info == nullptr) return E_POINTER;
  *info = nullptr;
  if (reference >= type_infos().size()) return E_INVALIDARG;
  *info = &type_infos()[reference];
  (*info)->AddRef();
  return S_OK;
}

HRESULT TypeInfo::GetContainingTypeLib(ITypeLib** library, UINT* index) {
  if (library != nullptr) *library = nullptr;
  const auto rows = protocol::types();
  const auto found = std::find_if(rows.begin(), rows.end(), [&](const TypeRow& row) { return &row == row_; });
  if (found == rows.end()) return TYPE_E_CANTLOADLIBRARY;  // the roots' library is not here
  if (index != nullptr) *index = static_cast<UINT>(found - rows.begin());
  return library != nullptr ? get_type_library(library) : S_OK;
}

}  // namespace

HRESULT get_type_info(const TypeRow& row, ITypeInfo** info) {
  if (info == nullptr) return E_POINTER;
  *info = nullptr;
  return guarded([&] {
    *info = &type_infos()[static_cast<std::size_t>(&row - protocol::types().data())];
    (*info)->AddRef();
    return S_OK;
  });
}

}  // namespace kestrine::scripting
