// `kestrine stream`: a continuous measurement, driven by events from a loop; no call ever waits.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "cli/common_options.h"
#include "cli/run.h"
#include "cli/stream_mode.h"

namespace kestrine::cli {

// Lengths are in the unit of the common options.
struct StreamOptions {
  CommonOptions common;
  const StreamMode* mode = nullptr;
  bool probe = false;
  std::size_t count = 0;             // 0 when only the duration ends it
  double duration = 0;               // seconds; 0 when only the count ends it
  std::int32_t time_separation = 0;  // milliseconds
  double separation = 0;             // along the way from point to point
  std::array<double, 3> cell{};      // of the grid; 0 where an axis does not count
  double radius = 0;                 // of the sphere or circle; 0 when it is to be found
};

// As run() does; also throws Failure when it ran to its end and points are missing.
Outcome stream(const StreamOptions& options);

}  // namespace kestrine::cli
