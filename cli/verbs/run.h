// One measurement from the first check to the files, whatever it measures.
#pragma once

#include <functional>
#include <iosfwd>

#include "cli/common/options.h"
#include "cli/output/record.h"
#include "cli/points/measurement.h"

namespace kestrine::cli {

enum class Outcome { kComplete, kStopped };

struct Task {
  // Measures; `out` is for people. May throw Stopped as well as whatever is wrong.
  std::function<void(const Endpoint&, std::ostream& out, Measurement&, Record&)> measure;
  // Says what has been measured, which may be nothing.
  std::function<void(std::ostream& out, const Measurement&)> summarise;
};

// Throws Failure or kestrine::Error. What was measured before a failure or a stop is in the files all the same.
Outcome run(const CommonOptions& options, Kind kind, const Task& task);

}  // namespace kestrine::cli
