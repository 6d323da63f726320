// What was measured, as every output of the tool sees it.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "cli/units.h"

namespace kestrine::cli {

using Vector = std::array<double, 3>;

// Lengths are in the measurement's unit. What a kind of measurement does not bring stays 0 and is not written.
struct Point {
  double seconds = 0;  // since the first point
  Vector position{};
  Vector deviation{};  // standard deviations; a priori ones in a stream
  double deviation_total = 0;
  Vector covariance{};  // xy, xz, yz, in the square of the unit
  double temperature = 0;
  double pressure = 0;
  double humidity = 0;
  std::int32_t status = 0;  // of a streamed point; 0 is good
};

// Positions that are no numbers, or lie farther off than any tracker sees in any unit, are none.
constexpr double kFarthestPosition = 1e12;

inline bool has_position(const Point& point) {
  return std::all_of(point.position.begin(), point.position.end(),
                     [](double value) { return std::abs(value) <= kFarthestPosition; });
}

enum class Kind { kStationary, kStream };

struct Tracker {
  std::string name;
  std::int32_t serial_number = 0;
  std::string software;  // of the server
  double min_distance = 0;
  double max_distance = 0;
  std::int32_t max_rate = 0;  // points per second
};

struct Measurement {
  Kind kind = Kind::kStationary;
  bool extended = false;  // with covariances, and in a stream with a priori deviations
  Tracker tracker;
  const LengthUnit* unit = nullptr;
  std::vector<Point> points;
};

}  // namespace kestrine::cli
