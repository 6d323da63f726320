// A measured point, and how the probe was held at it.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

namespace kestrine::cli {

using Vector = std::array<double, 3>;

inline constexpr const char* kAxisNames[] = {"X", "Y", "Z"};

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

// How the probe was held at a point of its tip. Angles are in degrees.
struct Attitude {
  std::array<double, 4> quaternion{};  // the scalar part first
  Vector angles{};                     // about X, Y and Z
  Vector deviation{};
  double deviation_total = 0;
  std::int32_t rotation_status = 0;
  std::int32_t trigger = 0;  // 1 while the probe's button is pressed
};

// Coordinates that are not numbers, or farther off than a tracker measures in any unit, are no position.
constexpr double kFarthestPosition = 1e12;

inline bool has_position(const Point& point) {
  return std::all_of(point.position.begin(), point.position.end(),
                     [](double value) { return std::abs(value) <= kFarthestPosition; });
}

inline double distance(const Point& a, const Point& b) {
  return std::hypot(b.position[0] - a.position[0], b.position[1] - a.position[1], b.position[2] - a.position[2]);
}

}  // namespace kestrine::cli
