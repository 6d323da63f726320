// Names of types and of what they consist of.
#pragma once

#include <string_view>

#include "component/type_rows.h"
#include "kestrine/type_info.h"

namespace kestrine::component {

// Values of an enumeration or fields of a record: what has a name, but no number of its own.
std::size_t variable_count(const TypeRow& type);
const char16_t* variable_name(const TypeRow& type, std::size_t index);

// The member, value or field of that name, in any case; MEMBERID_NIL when there is none.
MEMBERID find_id(const TypeRow& type, std::u16string_view name);
// Null when there is no such member, value or field.
const char16_t* name_of(const TypeRow& type, MEMBERID id);
const MemberRow* find_member(const TypeRow& type, MEMBERID id);

// Hands out a copy; `place` may be null when the caller does not ask.
HRESULT hand_out(const char16_t* text, BSTR* place);
// Name, and no more: the help of this library is on its pages.
HRESULT hand_out_documentation(const char16_t* name, BSTR* place, BSTR* text, DWORD* context, BSTR* file);

}  // namespace kestrine::component
