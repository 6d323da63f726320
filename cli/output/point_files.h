// Measured points as rows of CSV and of JSON lines. Both have the same columns, whose names carry their units.
#pragma once

#include <cstddef>
#include <span>
#include <string>

#include "cli/points/measurement.h"

namespace kestrine::cli {

// The rows of points, the first of which is the one with that index, counted from 0; with the attitudes of as many
// points where the measurement has them.
using RowWriter = std::string (*)(const Measurement&, std::size_t index, std::span<const Point>,
                                  std::span<const Attitude>);

// A line of column names before the first point, then one line a point. A value that is not finite leaves its field
// empty.
std::string csv_rows(const Measurement& measurement, std::size_t index, std::span<const Point> points,
                     std::span<const Attitude> attitudes);
// One object a line and point. A value that is not finite is null.
std::string json_rows(const Measurement& measurement, std::size_t index, std::span<const Point> points,
                      std::span<const Attitude> attitudes);

}  // namespace kestrine::cli
