// What a set of points says as a whole.
#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "cli/points/measurement.h"

namespace kestrine::cli {

struct Summary {
  std::size_t count = 0;
  double seconds = 0;  // from the first point to the last
  double rate = 0;     // points per second over that time; 0 when it is none
  Vector mean{};
  Vector spread{};  // standard deviation of one point; 0 for fewer than two
  Vector low{};
  Vector high{};
  double rms_distance = 0;  // from the mean, in space
  double max_distance = 0;
};

Summary summarise(std::span<const Point> points);

// The least-squares circle through the points as seen from above.
struct Circle {
  double x = 0;
  double y = 0;
  double radius = 0;
  double rms = 0;  // of the radial deviations
  double arc = 0;  // radians of it that the points cover

  double radial_deviation(const Point& point) const;
};

// None when the points do not lie on a circle: a cloud, a line, or an arc too flat to tell from one.
std::optional<Circle> fit_circle(std::span<const Point> points);

}  // namespace kestrine::cli
