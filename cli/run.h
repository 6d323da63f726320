// One measurement from the first check to the files, whatever it measures.
#pragma once

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>

#include "cli/common_options.h"
#include "cli/measurement.h"

namespace kestrine::cli {

enum class Outcome { kComplete, kStopped };

// Where the tracker's server listens.
struct Endpoint {
  std::string host;
  std::uint16_t port = 0;
};

struct Task {
  // Measures; `out` is for people. May throw Stopped as well as whatever is wrong.
  std::function<void(const Endpoint&, std::ostream& out, Measurement&)> measure;
  // Says what has been measured, which may be nothing.
  std::function<void(std::ostream& out, const Measurement&)> sum_up;
};

// Throws Failure or kestrine::Error. What was measured before a failure or a stop is in the files all the same.
Outcome run(const CommonOptions& options, Kind kind, const Task& task);

// For what the tracker accepts with a warning.
void warn(const std::string& text);

}  // namespace kestrine::cli
