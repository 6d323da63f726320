// The ways in which points are measured one after another.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "kestrine/enums.h"

namespace kestrine::cli {

enum class Spacing { kTime, kDistance, kCells };

struct StreamMode {
  std::string_view name;  // on the command line
  VL_MeasMode of_point;
  VL_MeasMode of_probe;
  Spacing spacing;
  // The points stay with the tracker, which only tells their centre: it needs some, and takes no more than so many.
  bool is_centre = false;
  int fewest_points = 1;
  int most_points = 10'000'000;
};

// Throws Failure for a name that is none.
const StreamMode& stream_mode(std::string_view name);
std::vector<std::string> stream_mode_names();

}  // namespace kestrine::cli
