#include "simulator/mathematics/centre_fit.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "simulator/mathematics/least_squares.h"

namespace kestrine::simulator {
namespace {

// Points less deep than that, seen against how far they spread, say nothing about a centre.
constexpr double kFlattest = 1e-3;
constexpr int kMostIterations = 100;
constexpr double kConverged = 1e-12;  // of the spread

struct Solution {
  Vector centre;
  double radius = 0;
  Matrix cofactor = Matrix::Zero();
};

// The unknowns are x, y and z of the centre, then the radius. In a plane, z is neither moved nor looked at.
LeastSquares equations_for(bool in_plane, bool radius_is_fixed) {
  return LeastSquares({true, true, !in_plane, !radius_is_fixed});
}

// Linear in the centre and in r^2 - c^2, which starts the iteration without a guess.
std::optional<Solution> start(std::span<const Vector> points, bool in_plane) {
  LeastSquares equations = equations_for(in_plane, false);
  for (const Vector& p : points) equations.add(Eigen::Vector4d{2 * p.x(), 2 * p.y(), 2 * p.z(), 1}, p.squaredNorm());
  const auto found = equations.solve();
  if (!found) return std::nullopt;
  const Vector centre = found->unknowns.head<3>();
  return Solution{centre, std::sqrt(std::max(0.0, found->unknowns[3] + centre.squaredNorm()))};
}

// Points around the origin.
std::optional<Solution> iterate(std::span<const Vector> points, bool in_plane, std::optional<double> radius,
                                double spread) {
  auto solution = start(points, in_plane);
  if (!solution) return std::nullopt;
  if (radius) solution->radius = *radius;
  for (int i = 0; i < kMostIterations; ++i) {
    LeastSquares equations = equations_for(in_plane, radius.has_value());
    for (const Vector& point : points) {
      Vector arm = point - solution->centre;
      if (in_plane) arm.z() = 0;
      const double distance = length(arm);
      if (distance == 0) return std::nullopt;
      equations.add((Eigen::Vector4d() << arm / distance, 1).finished(), distance - solution->radius);
    }
    const auto step = equations.solve();
    if (!step) return std::nullopt;
    const Vector shift = step->unknowns.head<3>();
    solution->centre += shift;
    solution->radius += step->unknowns[3];
    if (!std::isfinite(length(solution->centre) + solution->radius)) return std::nullopt;
    if (length(shift) + std::abs(step->unknowns[3]) > kConverged * (spread + solution->radius)) continue;
    solution->cofactor = step->cofactors.topLeftCorner<3, 3>();
    return solution;
  }
  return std::nullopt;
}

// The points in a system of their own: from their centroid, spread most along x and least along z.
struct PointCloud {
  Vector centroid;
  Axes axes;  // of the mean squares
  std::vector<Vector> points;

  explicit PointCloud(std::span<const Vector> all) {
    const double share = 1 / static_cast<double>(all.size());
    for (const Vector& each : all) centroid += share * each;
    Matrix squares;
    for (const Vector& each : all) squares += share * (each - centroid) * (each - centroid).transpose();
    axes = principal_axes(squares);
    for (const Vector& each : all) points.push_back(axes.directions.transpose() * (each - centroid));
  }
};

bool is_flat(double depth_squared, double spread_squared) {
  return !(depth_squared > kFlattest * kFlattest * spread_squared);
}

// The fit in the system of the points given.
CentreFit result(const PointCloud& cloud, const Solution& solution, double squares, int unknowns, int observed) {
  CentreFit fit;
  fit.centre = cloud.centroid + cloud.axes.directions * solution.centre;
  fit.radius = solution.radius;
  fit.rms = std::sqrt(squares / static_cast<double>(cloud.points.size()));
  if (observed > unknowns) fit.variance = squares / (observed - unknowns);
  fit.cofactor = cloud.axes.directions * solution.cofactor * cloud.axes.directions.transpose();
  return fit;
}

}  // namespace

std::optional<CentreFit> fit_sphere(std::span<const Vector> points, std::optional<double> radius) {
  if (points.size() < 4) return std::nullopt;
  const PointCloud cloud(points);
  if (is_flat(cloud.axes.values.z(), cloud.axes.values.x())) return std::nullopt;
  const auto solution = iterate(cloud.points, false, radius, std::sqrt(cloud.axes.values.x()));
  if (!solution) return std::nullopt;
  double squares = 0;
  for (const Vector& each : cloud.points) squares += std::pow(length(each - solution->centre) - solution->radius, 2);
  return result(cloud, *solution, squares, radius ? 3 : 4, static_cast<int>(points.size()));
}

std::optional<CentreFit> fit_circle(std::span<const Vector> points, std::optional<double> radius) {
  if (points.size() < 3) return std::nullopt;
  const PointCloud cloud(points);
  const Vector& spread = cloud.axes.values;
  if (is_flat(spread.y(), spread.x())) return std::nullopt;
  auto solution = iterate(cloud.points, true, radius, std::sqrt(spread.x()));
  if (!solution) return std::nullopt;
  double squares = 0;
  for (const Vector& each : cloud.points) {
    const Vector arm = each - solution->centre;
    squares += std::pow(std::hypot(arm.x(), arm.y()) - solution->radius, 2) + each.z() * each.z();
  }
  // Off the plane, the centre is as uncertain as the plane's height and its two tilts make it there.
  const Vector& at = solution->centre;
  solution->cofactor(2, 2) =
      (1 + at.x() * at.x() / spread.x() + at.y() * at.y() / spread.y()) / static_cast<double>(points.size());
  // Each point is observed in the plane and off it; three unknowns are the plane's.
  return result(cloud, *solution, squares, radius ? 5 : 6, 2 * static_cast<int>(points.size()));
}

}  // namespace kestrine::simulator
