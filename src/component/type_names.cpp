#include "component/type_names.h"

#include <algorithm>

#include "component/type_description.h"

namespace kestrine::component {

std::size_t variable_count(const TypeRow& type) {
  return type.values.size() + type.fields.size();
}

const char16_t* variable_name(const TypeRow& type, std::size_t index) {
  return type.kind == TypeKind::kEnumeration ? type.values[index].name : type.fields[index].name;
}

MEMBERID find_id(const TypeRow& type, std::u16string_view name) {
  if (const MemberRow* member = find_member(type, name)) return member->id;
  for (std::size_t i = 0; i < variable_count(type); ++i) {
    if (same_name(variable_name(type, i), name)) return kFirstVariable + static_cast<MEMBERID>(i);
  }
  return MEMBERID_NIL;
}

const MemberRow* find_member(const TypeRow& type, MEMBERID id) {
  const auto found =
      std::find_if(type.members.begin(), type.members.end(), [id](const MemberRow& member) { return member.id == id; });
  return found == type.members.end() ? nullptr : &*found;
}

const char16_t* name_of(const TypeRow& type, MEMBERID id) {
  if (const MemberRow* member = find_member(type, id)) return member->name;
  if (id < kFirstVariable) return nullptr;
  const auto index = static_cast<std::size_t>(id - kFirstVariable);
  return index < variable_count(type) ? variable_name(type, index) : nullptr;
}

HRESULT hand_out(const char16_t* text, BSTR* place) {
  if (place == nullptr) return S_OK;
  *place = SysAllocString(text);
  return *place == nullptr ? E_OUTOFMEMORY : S_OK;
}

HRESULT hand_out_documentation(const char16_t* name, BSTR* place, BSTR* text, DWORD* context, BSTR* file) {
  if (text != nullptr) *text = nullptr;
  if (context != nullptr) *context = 0;
  if (file != nullptr) *file = nullptr;
  return hand_out(name, place);
}

}  // namespace kestrine::component
