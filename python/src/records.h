// Records of the library as objects of the classes in kestrine.records.
#pragma once

#include <pybind11/pybind11.h>

#include <string>

#include "kestrine/component.h"
#include "kestrine/type_info.h"

namespace kestrine::python {

// `convert` is a pair: the class, and by the names of fields what becomes of their values.
pybind11::object from_record(const RecordValue& record, const pybind11::object& convert);

// Makes a record of type `name`; `value` has an attribute for each of its fields, else TypeError.
void to_record(const pybind11::handle& value, ITypeInfo& type, const std::string& name, VARIANT& variant);

}  // namespace kestrine::python
