#include "cli/stream_mode.h"

#include <algorithm>
#include <array>

#include "cli/failure.h"

namespace kestrine::cli {
namespace {

constexpr int kMostForCentre = 10'000;

constexpr std::array kModes{
    StreamMode{"time", VL_MM_ContinuousTime, VL_MM_6DContinuousTime, Spacing::kTime},
    StreamMode{"distance", VL_MM_ContinuousDistance, VL_MM_6DContinuousDistance, Spacing::kDistance},
    StreamMode{"grid", VL_MM_Grid, VL_MM_6DGrid, Spacing::kCells},
    StreamMode{"sphere-center", VL_MM_SphereCenter, VL_MM_6DSphereCenter, Spacing::kDistance, true, 4, kMostForCentre},
    StreamMode{"circle-center", VL_MM_CircleCenter, VL_MM_6DCircleCenter, Spacing::kDistance, true, 3, kMostForCentre},
};

}  // namespace

const StreamMode& stream_mode(std::string_view name) {
  const auto found = std::find_if(kModes.begin(), kModes.end(), [&](const auto& mode) { return mode.name == name; });
  if (found == kModes.end()) throw Failure("no such mode: " + std::string(name));
  return *found;
}

std::vector<std::string> stream_mode_names() {
  std::vector<std::string> names;
  names.reserve(kModes.size());
  for (const auto& mode : kModes) names.emplace_back(mode.name);
  return names;
}

}  // namespace kestrine::cli
