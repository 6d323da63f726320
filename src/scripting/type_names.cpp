#include "scripting/type_names.h"

#include <algorithm>
#include <cstring>

#include "scripting/type_description.h"

namespace kestrine::scripting {
namespace {

constexpr char16_t lower(char16_t unit) {
  return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + (u'a' - u'A')) : unit;
}

const char* variable_name(const TypeRow& type, std::size_t index) {
  return type.kind == TypeKind::kEnumeration ? type.values[index].name : type.fields[index].name;
}

}  // namespace

bool same_name(const char* name, std::u16string_view other) {
  for (const char16_t unit : other) {
    if (*name == '\0' || lower(static_cast<unsigned char>(*name++)) != lower(unit)) return false;
  }
  return *name == '\0';
}

const TypeRow* find_type(const GUID& id) {
  const auto rows = protocol::types();
  const auto found = std::ranges::find_if(rows, [&](const TypeRow& row) { return row.id && *row.id == id; });
  return found == rows.end() ? nullptr : &*found;
}

const MemberRow* find_member(const TypeRow& type, std::u16string_view name) {
  const auto found =
      std::ranges::find_if(type.members, [name](const MemberRow& member) { return same_name(member.name, name); });
  return found == type.members.end() ? nullptr : &*found;
}

const MemberRow* find_member(const TypeRow& type, MEMBERID id) {
  if (id < 1 || static_cast<std::size_t>(id) > type.members.size()) return nullptr;
  return &type.members[static_cast<std::size_t>(id) - 1];
}

std::size_t variable_count(const TypeRow& type) {
  return type.values.size() + type.fields.size();
}

MEMBERID find_id(const TypeRow& type, std::u16string_view name) {
  if (const MemberRow* member = find_member(type, name)) return member->dispid;
  for (std::size_t i = 0; i < variable_count(type); ++i) {
    if (same_name(variable_name(type, i), name)) return kFirstVariable + static_cast<MEMBERID>(i);
  }
  return MEMBERID_NIL;
}

const char* name_of(const TypeRow& type, MEMBERID id) {
  if (const MemberRow* member = find_member(type, id)) return member->name;
  if (id < kFirstVariable) return nullptr;
  const auto index = static_cast<std::size_t>(id - kFirstVariable);
  return index < variable_count(type) ? variable_name(type, index) : nullptr;
}

HRESULT hand_out(const char* name, BSTR* place) {
  if (place == nullptr) return S_OK;
  const std::size_t length = std::strlen(name);
  *place = SysAllocStringLen(nullptr, static_cast<UINT>(length));
  if (*place == nullptr) return E_OUTOFMEMORY;
  std::copy_n(name, length, *place);
  return S_OK;
}

HRESULT hand_out_documentation(const char* name, BSTR* place, BSTR* text, DWORD* context, BSTR* file) {
  if (text != nullptr) *text = nullptr;
  if (context != nullptr) *context = 0;
  if (file != nullptr) *file = nullptr;
  return hand_out(name, place);
}

}  // namespace kestrine::scripting
