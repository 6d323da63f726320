// Why the tool gives up, told in one line.
#pragma once

#include <stdexcept>
#include <string>

namespace kestrine::cli {

class Failure : public std::runtime_error {
 public:
  explicit Failure(const std::string& text) : std::runtime_error(text) {}
};

}  // namespace kestrine::cli
