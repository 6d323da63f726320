// What the library tells about its types: interfaces with members and parameters, events, enumerations and records.
// Callers by name go by these rows, and so does the type information that they can ask for.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "kestrine/component.h"

namespace kestrine::component {

inline constexpr std::int16_t kNoType = -1;

// A value's type. Of an enumeration it is VT_I4, of a record VT_RECORD, and `named` says which one.
struct TypeReference {
  VARTYPE type;
  std::int16_t named;  // index in types(), or kNoType
};

struct ParamRow {
  const char16_t* name;
  TypeReference type;
  bool out;  // the caller says where the value is to go
};

enum class MemberKind : std::uint8_t { kMethod, kGet, kPut };

struct MemberRow {
  DISPID id;
  const char16_t* name;
  MemberKind kind;
  std::span<const ParamRow> params;  // of a property its value alone, which a get hands out
};

struct FieldRow {
  const char16_t* name;
  TypeReference type;
  std::uint16_t offset;
  std::uint16_t count;  // elements of an array, such as the units of a text; 0 for a single value
};

struct ValueRow {
  const char16_t* name;
  std::int32_t value;
};

enum class TypeKind : std::uint8_t {
  kEnumeration,
  kRecord,
  kInterface,  // derived from IUnknown
  kDual,       // derived from IDispatch, its members can be called by number as well
  kEvents,
  kClass,
};

struct TypeRow {
  const char16_t* name;
  const GUID* id;  // null for enumerations and records, which have none
  std::span<const ValueRow> values;
  std::span<const FieldRow> fields;
  std::span<const MemberRow> members;
  std::uint16_t size;      // of a record in bytes, with one element where elements follow
  std::int16_t interface;  // of a class, and the events that it fires: index in types(), or kNoType
  std::int16_t events;
  TypeKind kind;
};

// Enumerations first, then records, interfaces, events and classes.
std::span<const TypeRow> types();
// Null when it is not ours.
const TypeRow* find_type(const GUID& id);

// Names are the same whatever the case of their ASCII letters.
bool same_name(std::u16string_view one, std::u16string_view other);
// Null when there is no member of that name.
const MemberRow* find_member(const TypeRow& type, std::u16string_view name);

}  // namespace kestrine::component
