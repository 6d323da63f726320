// The points of one packet of a continuous measurement.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "cli/points/measurement.h"

namespace kestrine::cli {

struct StreamBlock {
  std::vector<Point> points;        // their seconds are the tracker's own time
  std::vector<Attitude> attitudes;  // one for each point of the probe, none otherwise
};

// Throws Failure for any other packet, for one that does not hold the points it announces, and for points without a
// position.
StreamBlock read_stream_block(std::span<const std::uint8_t> packet);

}  // namespace kestrine::cli
