// What a set of points says as a whole.
#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "cli/points/point.h"

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
};

// Grows with every point, and keeps none.
class Totals {
 public:
  void add(const Point& point, const Attitude* attitude = nullptr);

  std::size_t count() const { return count_; }
  Summary summary() const;
  std::size_t doubtful() const { return doubtful_; }  // with a warning of the tracker
  // Of the probe.
  std::size_t pressed() const { return pressed_; }
  const Vector& low_angles() const { return low_angles_; }
  const Vector& high_angles() const { return high_angles_; }

 private:
  std::size_t count_ = 0;
  double first_seconds_ = 0;
  double last_seconds_ = 0;
  Vector mean_{};
  Vector squares_{};  // of the distances from the mean
  Vector low_{};
  Vector high_{};
  std::size_t doubtful_ = 0;
  std::size_t pressed_ = 0;
  Vector low_angles_{};
  Vector high_angles_{};
};

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
