// Measured points as CSV and as JSON lines. Both have the same columns, whose names carry their units.
#pragma once

#include <iosfwd>

#include "cli/points/measurement.h"

namespace kestrine::cli {

// One line of column names, then one line a point. A value that is not finite leaves its field empty.
void write_csv(std::ostream& out, const Measurement& measurement);
// One object a line and point. A value that is not finite is null.
void write_json_lines(std::ostream& out, const Measurement& measurement);

}  // namespace kestrine::cli
