// Types and what they consist of, by name and by number. Names are ASCII in the rows and UTF-16 for callers, and the
// same whatever the case of their letters.
#pragma once

#include <string_view>

#include "kestrine/type_info.h"
#include "protocol/catalogue.h"

namespace kestrine::scripting {

using protocol::MemberKind, protocol::MemberRow, protocol::TypeKind, protocol::TypeRow, protocol::Value,
    protocol::ValueType;

bool same_name(const char* name, std::u16string_view other);

// Null when it is not ours.
const TypeRow* find_type(const GUID& id);
// Null when there is no such member.
const MemberRow* find_member(const TypeRow& type, std::u16string_view name);
const MemberRow* find_member(const TypeRow& type, MEMBERID id);

// Values of an enumeration or fields of a record: what has a name, but no number of its own.
std::size_t variable_count(const TypeRow& type);

// The member, value or field of that name; MEMBERID_NIL when there is none.
MEMBERID find_id(const TypeRow& type, std::u16string_view name);
// Null when there is no such member, value or field.
const char* name_of(const TypeRow& type, MEMBERID id);

// Hands out a copy; `place` may be null when the caller does not ask.
HRESULT hand_out(const char* name, BSTR* place);
// Name, and no more: the help of this library is on its pages.
HRESULT hand_out_documentation(const char* name, BSTR* place, BSTR* text, DWORD* context, BSTR* file);

}  // namespace kestrine::scripting
