// A measurement as a picture: where the points lie, seen from above, and how far each is off.
#pragma once

#include <string>

#include "cli/points/measurement.h"

namespace kestrine::cli {

// A complete SVG document. Needs at least one point.
std::string draw_chart(const Measurement& measurement);

}  // namespace kestrine::cli
