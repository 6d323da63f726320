// Members, values and fields as callers of type information get them, made from the rows.
#pragma once

#include "scripting/type_names.h"

namespace kestrine::scripting {

// How a type's members are described: as members that are called by number, which give back a property's value as
// their result, or as slots of a vtable, which return a status code and take a place for the value.
enum class Form { kByNumber, kVtable };

// Identifiers of enumeration values and fields, which have no numbers of their own, count from here.
inline constexpr MEMBERID kFirstVariable = 0x40000000;

// Members of IUnknown and of IDispatch, the inherited ones included.
inline constexpr std::size_t kUnknownSlots = 3;
inline constexpr std::size_t kDispatchSlots = 7;

// A reference to a type within a description is its place in types(). All throw std::bad_alloc.
FUNCDESC* describe_function(const TypeRow& type, Form form, std::size_t member);
VARDESC* describe_value(const protocol::EnumValue& row, MEMBERID id);
VARDESC* describe_field(const Value& row, MEMBERID id);

void release(FUNCDESC* function);
void release(VARDESC* variable);

}  // namespace kestrine::scripting
