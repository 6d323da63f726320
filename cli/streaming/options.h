// The ways in which points are measured one after another, and what else can be asked of a stream.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cli/common/options.h"
#include "kestrine/enums.h"

namespace kestrine::cli {

enum class Spacing { kTime, kDistance, kCells };

struct StreamMode {
  std::string_view name;  // on the command line
  VL_MeasMode of_point;
  VL_MeasMode of_probe;
  Spacing spacing;
  // The points stay with the tracker, which only sends their centre: it needs some, and takes no more than so many.
  bool is_centre = false;
  int fewest_points = 1;
  int most_points = 10'000'000;
};

// Throws Failure for a name that is none.
const StreamMode& stream_mode(std::string_view name);
std::vector<std::string> stream_mode_names();

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

}  // namespace kestrine::cli
