#include "component/type_rows.h"

#include <algorithm>

namespace kestrine::component {
namespace {

char16_t lower(char16_t unit) {
  return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + (u'a' - u'A')) : unit;
}

}  // namespace

const TypeRow* find_type(const GUID& id) {
  const auto rows = types();
  const auto found =
      std::find_if(rows.begin(), rows.end(), [&](const TypeRow& row) { return row.id && *row.id == id; });
  return found == rows.end() ? nullptr : &*found;
}

bool same_name(std::u16string_view one, std::u16string_view other) {
  return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                    [](char16_t a, char16_t b) { return lower(a) == lower(b); });
}

const MemberRow* find_member(const TypeRow& type, std::u16string_view name) {
  const auto found = std::find_if(type.members.begin(), type.members.end(),
                                  [&](const MemberRow& member) { return same_name(member.name, name); });
  return found == type.members.end() ? nullptr : &*found;
}

}  // namespace kestrine::component
