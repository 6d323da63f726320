// Values between Python and variants.
#pragma once

#include <pybind11/pybind11.h>

#include "kestrine/component.h"
#include "python/src/members.h"

namespace kestrine::python {

// A variant that is cleared at its end.
struct Value : VARIANT {
  Value() { VariantInit(this); }
  ~Value() { VariantClear(this); }
  Value(const Value&) = delete;
  Value& operator=(const Value&) = delete;
};

// `variant` is empty before. Nothing is guessed: what the target cannot hold as it is, None above all, throws a
// TypeError that names the target, a number out of range an OverflowError, one that is not finite a ValueError.
// Anything with a buffer goes as an array of bytes.
void to_variant(const pybind11::handle& value, const Parameter& target, VARIANT& variant);

// `convert` is None or what becomes of the value: of an enumeration the mapping from numbers to members, of a record
// the class and the converters of its fields.
pybind11::object to_python(const VARIANT& variant, const pybind11::object& convert);

}  // namespace kestrine::python
