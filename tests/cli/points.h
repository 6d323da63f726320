// Measurements to test with.
#pragma once

#include <cmath>

#include "cli/points/measurement.h"

namespace kestrine::cli {

inline Point point_at(double x, double y, double z, double seconds = 0) {
  Point point;
  point.position = {x, y, z};
  point.seconds = seconds;
  return point;
}

inline Measurement measurement_of(Kind kind, const std::vector<Point>& points) {
  Measurement measurement;
  measurement.kind = kind;
  measurement.tracker.name = "Tracker";
  measurement.tracker.serial_number = 7;
  measurement.unit = &length_unit("mm");
  for (const auto& point : points) measurement.add(point);
  return measurement;
}

// Around (2000, -100) with a radius of 300 and a wave in height; `off` is added to every other radius and taken
// from the rest.
inline std::vector<Point> arc_of(double radians, int count, double off = 0) {
  std::vector<Point> points;
  for (int i = 0; i < count; ++i) {
    const double angle = radians * i / count;
    const double radius = 300 + (i % 2 == 0 ? off : -off);
    points.push_back(
        point_at(2000 + radius * std::cos(angle), -100 + radius * std::sin(angle), 50 * std::sin(9 * angle), i * 0.01));
  }
  return points;
}

}  // namespace kestrine::cli
