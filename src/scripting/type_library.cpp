#include "scripting/type_library.h"

#include <new>

#include "kestrine/interfaces.h"
#include "kestrine/pointer.h"
#include "platform/library_version.h"
#include "scripting/type_info.h"

namespace kestrine::scripting {
namespace {

constexpr char kName[] = "KESTRINELib";

HRESULT type_at(UINT index, ITypeInfo** info) {
  if (info == nullptr) return E_POINTER;
  *info = nullptr;
  return index < protocol::types().size() ? get_type_info(protocol::types()[index], info) : TYPE_E_ELEMENTNOTFOUND;
}

class TypeLibrary final : public ITypeLib {
 public:
  HRESULT QueryInterface(REFIID iid, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = iid == IID_IUnknown || iid == IID_ITypeLib ? this : nullptr;
    if (*object == nullptr) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  ULONG AddRef() override { return ++type_references; }
  ULONG Release() override { return --type_references; }

  UINT GetTypeInfoCount() override { return static_cast<UINT>(protocol::types().size()); }
  HRESULT GetTypeInfo(UINT index, ITypeInfo** info) override { return type_at(index, info); }

  HRESULT GetTypeInfoType(UINT index, TYPEKIND* kind) override {
    if (kind == nullptr) return E_POINTER;
    Pointer<ITypeInfo> info;
    TYPEATTR* attributes = nullptr;
    if (const HRESULT result = type_at(index, info.put()); FAILED(result)) return result;
    if (const HRESULT result = info->GetTypeAttr(&attributes); FAILED(result)) return result;
    *kind = attributes->typekind;
    info->ReleaseTypeAttr(attributes);
    return S_OK;
  }

  HRESULT GetTypeInfoOfGuid(REFGUID id, ITypeInfo** info) override {
    if (info == nullptr) return E_POINTER;
    *info = nullptr;
    const TypeRow* row = find_type(id);
    return row != nullptr ? get_type_info(*row, info) : TYPE_E_ELEMENTNOTFOUND;
  }

  HRESULT GetLibAttr(TLIBATTR** attributes) override {
    if (attributes == nullptr) return E_POINTER;
    *attributes = new (std::nothrow)
        TLIBATTR{LIBID_KESTRINELib,    0, SYS_WIN64, platform::kTypeLibraryMajor, platform::kTypeLibraryMinor,
                 LIBFLAG_FHASDISKIMAGE};
    return *attributes != nullptr ? S_OK : E_OUTOFMEMORY;
  }
  void ReleaseTLibAttr(TLIBATTR* attributes) override { delete attributes; }

  HRESULT GetTypeComp(ITypeComp**) override {
    return E_NOTIMPL;  // for compilers; the descriptions say the same
  }

  HRESULT GetDocumentation(INT index, BSTR* name, BSTR* text, DWORD* context, BSTR* file) override {
    if (index < -1 || index >= static_cast<INT>(protocol::types().size())) return TYPE_E_ELEMENTNOTFOUND;
    const char* const found = index == -1 ? kName : protocol::types()[static_cast<std::size_t>(index)].name;
    return hand_out_documentation(found, name, text, context, file);
  }

  HRESULT IsName(LPOLESTR name, ULONG, BOOL* found) override {
    if (name == nullptr || found == nullptr) return E_POINTER;
    *found = same_name(kName, name) ? 1 : 0;
    for (const TypeRow& row : protocol::types()) {
      if (same_name(row.name, name) || find_id(row, name) != MEMBERID_NIL) *found = 1;
    }
    return S_OK;
  }

  // `count` says how many the caller has room for, then how many there are in it.
  HRESULT FindName(LPOLESTR name, ULONG, ITypeInfo** infos, MEMBERID* ids, USHORT* count) override {
    if (name == nullptr || infos == nullptr || ids == nullptr || count == nullptr) return E_POINTER;
    USHORT filled = 0;
    for (const TypeRow& row : protocol::types()) {
      if (filled == *count) break;
      const MEMBERID id = find_id(row, name);
      if (id == MEMBERID_NIL && !same_name(row.name, name)) continue;
      if (const HRESULT result = get_type_info(row, &infos[filled]); FAILED(result)) {
        while (filled != 0) infos[--filled]->Release();
        return result;
      }
      ids[filled++] = id;
    }
    *count = filled;
    return S_OK;
  }
};

}  // namespace

HRESULT get_type_library(ITypeLib** library) {
  if (library == nullptr) return E_POINTER;
  static TypeLibrary made;
  *library = &made;
  made.AddRef();
  return S_OK;
}

}  // namespace kestrine::scripting
