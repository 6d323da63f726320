// One argument of an operation on its way between the typed method and the bytes.
#pragma once

#include <cstdint>

#include "kestrine/component.h"

namespace kestrine::commands {

union Argument {
  std::int32_t i32;  // long, enumeration
  double f64;
  VARIANT_BOOL boolean;
  BSTR text;
  VARIANT* variant;
  const void* record;  // an input record, in the host's memory
  void* out;           // where an output goes
};

}  // namespace kestrine::commands
