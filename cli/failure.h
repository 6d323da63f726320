// Why a measurement ends before its time.
#pragma once

#include <exception>
#include <stdexcept>
#include <string>

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

}  // namespace kestrine::cli
