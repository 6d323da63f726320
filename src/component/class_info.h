// How a command object tells which class it is and what events it fires.
#pragma once

#include "kestrine/interface_id.h"
#include "scripting/type_info.h"

namespace kestrine::component {

// The class that fires these events.
inline const protocol::TypeRow* class_with_events(const IID& events) {
  for (const protocol::TypeRow& row : protocol::types()) {
    if (row.fires != nullptr && *row.fires->id == events) return &row;
  }
  return nullptr;
}

template <const IID& EventInterface>
class ClassInfo : public IProvideClassInfo2 {
 public:
  HRESULT GetClassInfo(ITypeInfo** info) override {
    const protocol::TypeRow* row = class_with_events(EventInterface);
    return row != nullptr ? scripting::get_type_info(*row, info) : E_UNEXPECTED;
  }
  HRESULT GetGUID(DWORD kind, GUID* id) override {
    if (id == nullptr) return E_POINTER;
    const bool known = kind == GUIDKIND_DEFAULT_SOURCE_DISP_IID;
    *id = known ? EventInterface : GUID_NULL;
    return known ? S_OK : E_INVALIDARG;
  }

 protected:
  ~ClassInfo() = default;
};

}  // namespace kestrine::component

namespace kestrine {

template <const IID& EventInterface>
struct InterfaceId<component::ClassInfo<EventInterface>> : InterfaceId<IProvideClassInfo2> {};

}  // namespace kestrine
