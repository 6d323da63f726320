// What was measured, as every output of the tool sees it.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "cli/common/units.h"

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

enum class Kind {
  kStationary,
  kStream,
  kCentre  // of a sphere or a circle: a single point
};

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
  bool spaced = false;    // a stream whose points were taken by the way the target went, not by the clock
  std::string manner;     // how a stream or a centre was measured, for a subtitle
  Tracker tracker;
  const LengthUnit* unit = nullptr;
  std::vector<Point> points;
  std::vector<Attitude> attitudes;  // as many as points in a stream with the probe, none otherwise

  void keep_first(std::size_t count) {
    points.resize(std::min(count, points.size()));
    attitudes.resize(std::min(count, attitudes.size()));
  }
};

}  // namespace kestrine::cli
