// The points of one packet of a continuous measurement.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "cli/measurement.h"

namespace kestrine::cli {

// The point's seconds are the tracker's own time. Throws Failure for a packet that is none of these or that does
// not hold the points it announces, or whose points have no positions.
std::vector<Point> read_stream_block(std::span<const std::uint8_t> packet);

}  // namespace kestrine::cli
