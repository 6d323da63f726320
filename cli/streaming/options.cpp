#include "cli/streaming/options.h"

#include <array>

#include "cli/common/named.h"

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
  return find_named(kModes, name, "mode");
}

std::vector<std::string> stream_mode_names() {
  return names_of(kModes);
}

}  // namespace kestrine::cli
