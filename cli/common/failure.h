// Why a measurement ends before its time, in words for the user.
#pragma once

#include <exception>
#include <stdexcept>
#include <string>

#include "kestrine/enums.h"
#include "kestrine/error.h"

namespace kestrine::cli {

// The tool gives up; the reason is one line.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The user asked for it.
class Stopped : public std::exception {};

// The library's text, and the number that the error carries, if any.
inline std::string text_of(const Error& error) {
  return error.what() + (error.number() == 0 ? "" : " (error " + std::to_string(error.number()) + ")");
}

// Which change of status ended the connection; empty for one that ends nothing.
inline std::string lost_connection_text(VL_SystemStatusChange change) {
  if (change == VL_SSC_ServerClosing) return "the server closed the connection";
  if (change == VL_SSC_TPConnectionClosing) return "the server lost its tracker";
  return {};
}

}  // namespace kestrine::cli
