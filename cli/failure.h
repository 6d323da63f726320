// Why a measurement ends before its time.
#pragma once

#include <exception>
#include <stdexcept>
#include <string>

#include "kestrine/error.h"

namespace kestrine::cli {

// The tool gives up; the reason is told in one line.
class Failure : public std::runtime_error {
 public:
  explicit Failure(const std::string& text) : std::runtime_error(text) {}
};

// The user asked for it.
class Stopped : public std::exception {
 public:
  const char* what() const noexcept override { return "stopped"; }
};

// With the number that it carries, if any.
inline std::string told(const Error& error) {
  return error.what() + (error.number() == 0 ? "" : " (error " + std::to_string(error.number()) + ")");
}

}  // namespace kestrine::cli
