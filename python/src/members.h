// Members of interfaces as their type information describes them.
#pragma once

#include <pybind11/pybind11.h>

#include <string>
#include <vector>

#include "kestrine/pointer.h"
#include "kestrine/type_info.h"

namespace kestrine::python {

struct Parameter {
  std::string name;
  bool out = false;
  VARTYPE type = VT_EMPTY;    // of an enumeration VT_I4, of a record VT_RECORD
  std::string type_name;      // of an enumeration or a record
  Pointer<ITypeInfo> record;  // of a record
  pybind11::object convert;   // what makes a value of `type_name` of an output; None for other types
};

struct Member {
  DISPID id = 0;
  std::string name;
  WORD kind = 0;                      // DISPATCH_METHOD or one of the property kinds
  std::vector<Parameter> parameters;  // of a property its value alone
  std::vector<int> inputs;            // places of those that a caller gives
  // What several outputs are returned as: a class derived from tuple that adds nothing to its layout, or None for
  // tuple.
  pybind11::object result = pybind11::none();
};

// Where an object's type information is; the one of its default event interface is empty when there is none.
Pointer<ITypeInfo> type_of(IDispatch& object);
Pointer<ITypeInfo> events_of(IUnknown& object);

std::string name_of(ITypeInfo& type);
GUID id_of(ITypeInfo& type);
// `converters` gives the converter for the name of an enumeration or record.
std::vector<Member> read_members(ITypeInfo& type, const pybind11::dict& converters);

}  // namespace kestrine::python
