#include "cli/points/statistics.h"

#include <Eigen/LU>
#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

namespace kestrine::cli {
namespace {

constexpr std::size_t kFewestForCircle = 6;
constexpr int kMostSteps = 50;
constexpr double kSingular = 1e-12;  // for figures scaled to size 1
// A circle is one when the points leave it by less than this part of its radius...
constexpr double kMostRelativeDeviation = 0.02;
// ...and when its arc rises above its chord by more than this many times the deviation.
constexpr double kLeastRiseOverDeviation = 10;

// Normal equations of a least-squares problem in three unknowns.
class NormalEquations {
 public:
  void add(const Eigen::Vector3d& derivative, double value) {
    matrix_ += derivative * derivative.transpose();
    right_ += derivative * value;
  }
  // Nothing when they are singular.
  std::optional<Eigen::Vector3d> solve() const {
    const Eigen::FullPivLU<Eigen::Matrix3d> decomposed(matrix_);
    if (std::abs(decomposed.matrixLU()(2, 2)) < kSingular) return std::nullopt;
    return decomposed.solve(right_);
  }

 private:
  Eigen::Matrix3d matrix_ = Eigen::Matrix3d::Zero();
  Eigen::Vector3d right_ = Eigen::Vector3d::Zero();
};

using Planar = Eigen::Vector2d;

// The circle whose equation x² + y² = 2ax + 2by + c fits best: close, and found in one step.
std::optional<Circle> algebraic_circle(const std::vector<Planar>& points) {
  NormalEquations equations;
  for (const auto& p : points) equations.add({p.x(), p.y(), 1}, p.squaredNorm());
  const auto solution = equations.solve();
  if (!solution) return std::nullopt;
  Circle circle;
  circle.x = (*solution)(0) / 2;
  circle.y = (*solution)(1) / 2;
  circle.radius = std::sqrt((*solution)(2) + circle.x * circle.x + circle.y * circle.y);
  return circle;
}

// Gauss-Newton on the distances from the circle; the algebraic start is biased towards small radii on short arcs.
bool refine(Circle& circle, const std::vector<Planar>& points) {
  for (int step = 0; step < kMostSteps; ++step) {
    NormalEquations equations;
    for (const auto& p : points) {
      const Planar off = p - Planar(circle.x, circle.y);
      const double distance = off.norm();
      if (distance == 0) return false;
      equations.add({off.x() / distance, off.y() / distance, 1}, distance - circle.radius);
    }
    const auto change = equations.solve();
    if (!change) return false;
    circle.x += (*change)(0);
    circle.y += (*change)(1);
    circle.radius += (*change)(2);
    if (!std::isfinite(circle.radius) || circle.radius <= 0) return false;
    if (change->lpNorm<1>() < 1e-12) return true;
  }
  return true;
}

double covered_arc(const Circle& circle, const std::vector<Planar>& points) {
  std::vector<double> angles;
  angles.reserve(points.size());
  for (const auto& p : points) angles.push_back(std::atan2(p.y() - circle.y, p.x() - circle.x));
  std::sort(angles.begin(), angles.end());
  double gap = angles.front() + 2 * std::numbers::pi - angles.back();
  for (std::size_t i = 1; i < angles.size(); ++i) gap = std::max(gap, angles[i] - angles[i - 1]);
  return 2 * std::numbers::pi - gap;
}

}  // namespace

void Totals::add(const Point& point, const Attitude* attitude) {
  const bool first = count_++ == 0;
  if (first) first_seconds_ = point.seconds;
  last_seconds_ = point.seconds;
  const auto widen = [first](Vector& low, Vector& high, const Vector& value) {
    for (std::size_t i = 0; i < 3; ++i) {
      low[i] = first ? value[i] : std::min(low[i], value[i]);
      high[i] = first ? value[i] : std::max(high[i], value[i]);
    }
  };
  widen(low_, high_, point.position);
  // Each point moves the mean a little: micrometres at tens of metres would suffer in plain sums.
  for (std::size_t i = 0; i < 3; ++i) {
    const double off = point.position[i] - mean_[i];
    mean_[i] += off / static_cast<double>(count_);
    squares_[i] += off * (point.position[i] - mean_[i]);
  }
  doubtful_ += point.status != 0 ? 1 : 0;
  if (attitude == nullptr) return;
  pressed_ += attitude->trigger != 0 ? 1 : 0;
  widen(low_angles_, high_angles_, attitude->angles);
}

Summary Totals::summary() const {
  Summary summary;
  summary.count = count_;
  if (count_ == 0) return summary;
  const auto count = static_cast<double>(count_);
  summary.seconds = last_seconds_ - first_seconds_;
  if (summary.seconds > 0) summary.rate = (count - 1) / summary.seconds;
  summary.low = low_;
  summary.high = high_;
  summary.mean = mean_;
  summary.rms_distance = std::sqrt((squares_[0] + squares_[1] + squares_[2]) / count);
  if (count_ > 1) {
    for (std::size_t i = 0; i < 3; ++i) summary.spread[i] = std::sqrt(squares_[i] / (count - 1));
  }
  return summary;
}

double Circle::radial_deviation(const Point& point) const {
  return std::hypot(point.position[0] - x, point.position[1] - y) - radius;
}

std::optional<Circle> fit_circle(std::span<const Point> points) {
  if (points.size() < kFewestForCircle) return std::nullopt;
  // Scaled to the size of the figure, so that the limits above hold in every unit.
  Totals totals;
  for (const auto& point : points) totals.add(point);
  const Summary summary = totals.summary();
  const double scale = std::max(summary.high[0] - summary.low[0], summary.high[1] - summary.low[1]);
  if (!(scale > 0)) return std::nullopt;
  std::vector<Planar> planar;
  planar.reserve(points.size());
  for (const auto& point : points) {
    planar.emplace_back((point.position[0] - summary.mean[0]) / scale, (point.position[1] - summary.mean[1]) / scale);
  }
  auto circle = algebraic_circle(planar);
  if (!circle || !std::isfinite(circle->radius) || !refine(*circle, planar)) return std::nullopt;

  double squares = 0;
  for (const auto& p : planar) {
    const double off = (p - Planar(circle->x, circle->y)).norm() - circle->radius;
    squares += off * off;
  }
  circle->rms = std::sqrt(squares / static_cast<double>(planar.size()));
  circle->arc = covered_arc(*circle, planar);
  const double half = std::min(circle->arc / 2, std::numbers::pi / 2);
  const double rise = circle->radius * (1 - std::cos(half));
  const bool fits = circle->rms < kMostRelativeDeviation * circle->radius;
  if (!fits || rise < kLeastRiseOverDeviation * circle->rms) return std::nullopt;

  circle->x = circle->x * scale + summary.mean[0];
  circle->y = circle->y * scale + summary.mean[1];
  circle->radius *= scale;
  circle->rms *= scale;
  return circle;
}

}  // namespace kestrine::cli
