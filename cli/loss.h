// How the end of a connection is told.
#pragma once

#include <string>

#include "kestrine/enums.h"

namespace kestrine::cli {

// Empty for a change of status that ends nothing.
inline std::string loss_told_by(VL_SystemStatusChange change) {
  if (change == VL_SSC_ServerClosing) return "the server closed the connection";
  if (change == VL_SSC_TPConnectionClosing) return "the server lost its tracker";
  return {};
}

}  // namespace kestrine::cli
