// `kestrine measure`: a series of stationary points, each measured by a call that waits for its result.
#pragma once

#include <cstddef>
#include <cstdint>

#include "cli/common_options.h"
#include "cli/run.h"

namespace kestrine::cli {

struct MeasureOptions {
  CommonOptions common;
  std::size_t points = 10;
  std::int32_t measure_time = 0;  // milliseconds for each point
};

// As run() does.
Outcome measure(const MeasureOptions& options);

}  // namespace kestrine::cli
