#include "simulator/centre_fit.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>
#include <vector>

namespace kestrine::simulator {
namespace {

// Points less deep than that, seen against how far they spread, say nothing about a centre.
constexpr double kFlattest = 1e-3;
constexpr int kMostIterations = 100;
constexpr double kConverged = 1e-12;  // of the spread

// x, y and z of the centre, then the radius.
using Row = std::array<double, 4>;
using Square = std::array<Row, 4>;

// By elimination with the largest pivot; nothing for a matrix that has no inverse.
std::optional<Square> inverse(Square a) {
  Square result{};
  for (std::size_t i = 0; i < 4; ++i) result[i][i] = 1;
  for (std::size_t column = 0; column < 4; ++column) {
    std::size_t pivot = column;
    for (std::size_t i = column + 1; i < 4; ++i) {
      if (std::abs(a[i][column]) > std::abs(a[pivot][column])) pivot = i;
    }
    if (!(std::abs(a[pivot][column]) > 1e-300)) return std::nullopt;
    std::swap(a[pivot], a[column]);
    std::swap(result[pivot], result[column]);
    const double factor = 1 / a[column][column];
    for (std::size_t j = 0; j < 4; ++j) a[column][j] *= factor, result[column][j] *= factor;
    for (std::size_t i = 0; i < 4; ++i) {
      if (i == column) continue;
      const double taken = a[i][column];
      for (std::size_t j = 0; j < 4; ++j) a[i][j] -= taken * a[column][j], result[i][j] -= taken * result[column][j];
    }
  }
  return result;
}

// The unknowns of a least squares step. One that is held gets no equation but that it does not change.
class Equations {
 public:
  explicit Equations(const std::array<bool, 4>& held) : held_(held) {
    for (std::size_t i = 0; i < 4; ++i) {
      if (held[i]) normal_[i][i] = 1;
    }
  }
  void add(Row row, double value) {
    for (std::size_t i = 0; i < 4; ++i) {
      if (held_[i]) row[i] = 0;
    }
    for (std::size_t i = 0; i < 4; ++i) {
      right_[i] += row[i] * value;
      for (std::size_t j = 0; j < 4; ++j) normal_[i][j] += row[i] * row[j];
    }
  }
  std::optional<Square> cofactor() const { return inverse(normal_); }
  std::optional<Row> solve() const {
    const auto cofactors = inverse(normal_);
    if (!cofactors) return std::nullopt;
    Row result{};
    for (std::size_t i = 0; i < 4; ++i)
      for (std::size_t j = 0; j < 4; ++j) result[i] += (*cofactors)[i][j] * right_[j];
    return result;
  }

 private:
  std::array<bool, 4> held_;
  Square normal_{};
  Row right_{};
};

struct Solution {
  Vector centre;
  double radius = 0;
  Square cofactor{};
};

// Linear in the centre and in r^2 - c^2, which starts the iteration without a guess.
std::optional<Solution> start(std::span<const Vector> points, bool in_plane) {
  Equations equations({false, false, in_plane, false});
  for (const Vector& p : points) equations.add({2 * p.x, 2 * p.y, 2 * p.z, 1}, p.x * p.x + p.y * p.y + p.z * p.z);
  const auto found = equations.solve();
  if (!found) return std::nullopt;
  const Vector centre{(*found)[0], (*found)[1], (*found)[2]};
  return Solution{centre, std::sqrt(std::max(0.0, (*found)[3] + std::pow(length(centre), 2))), {}};
}

// Points around the origin. In a plane means that z is neither moved nor looked at.
std::optional<Solution> iterate(std::span<const Vector> points, bool in_plane, std::optional<double> radius,
                                double spread) {
  auto solution = start(points, in_plane);
  if (!solution) return std::nullopt;
  if (radius) solution->radius = *radius;
  for (int i = 0; i < kMostIterations; ++i) {
    Equations equations({false, false, in_plane, radius.has_value()});
    for (const Vector& point : points) {
      Vector arm = point - solution->centre;
      if (in_plane) arm.z = 0;
      const double distance = length(arm);
      if (distance == 0) return std::nullopt;
      const Vector out = (1 / distance) * arm;
      equations.add({out.x, out.y, out.z, 1}, distance - solution->radius);
    }
    const auto step = equations.solve();
    if (!step) return std::nullopt;
    const Vector shift{(*step)[0], (*step)[1], (*step)[2]};
    solution->centre = solution->centre + shift;
    solution->radius += (*step)[3];
    if (!std::isfinite(length(solution->centre) + solution->radius)) return std::nullopt;
    if (length(shift) + std::abs((*step)[3]) > kConverged * (spread + solution->radius)) continue;
    const auto cofactor = equations.cofactor();
    if (cofactor) solution->cofactor = *cofactor;
    return solution;
  }
  return std::nullopt;
}

// The points, moved to the origin and turned so that they spread most along x and least along z.
struct Lying {
  Vector centroid;
  Axes axes;  // of the mean squares
  std::vector<Vector> points;
};

Lying lie_down(std::span<const Vector> points) {
  Lying lying;
  const double share = 1 / static_cast<double>(points.size());
  for (const Vector& each : points) lying.centroid = lying.centroid + share * each;
  Matrix squares{};
  for (const Vector& each : points) {
    const Vector off = each - lying.centroid;
    squares = squares + share * outer(off, off);
  }
  lying.axes = principal_axes(squares);
  for (const Vector& each : points) lying.points.push_back(transposed(lying.axes.directions) * (each - lying.centroid));
  return lying;
}

bool is_flat(double depth_squared, double spread_squared) {
  return !(depth_squared > kFlattest * kFlattest * spread_squared);
}

CentreFit turned_back(const Lying& lying, const Solution& solution, double squares, int unknowns, int observed) {
  CentreFit fit;
  fit.centre = lying.centroid + lying.axes.directions * solution.centre;
  fit.radius = solution.radius;
  fit.rms = std::sqrt(squares / static_cast<double>(lying.points.size()));
  if (observed > unknowns) fit.variance = squares / (observed - unknowns);
  Matrix own{};
  for (std::size_t r = 0; r < 3; ++r)
    for (std::size_t c = 0; c < 3; ++c) own[r][c] = solution.cofactor[r][c];
  fit.cofactor = lying.axes.directions * own * transposed(lying.axes.directions);
  return fit;
}

}  // namespace

std::optional<CentreFit> fit_sphere(std::span<const Vector> points, std::optional<double> radius) {
  if (points.size() < 4) return std::nullopt;
  const Lying lying = lie_down(points);
  if (is_flat(lying.axes.values.z, lying.axes.values.x)) return std::nullopt;
  const auto solution = iterate(lying.points, false, radius, std::sqrt(lying.axes.values.x));
  if (!solution) return std::nullopt;
  double squares = 0;
  for (const Vector& each : lying.points) squares += std::pow(length(each - solution->centre) - solution->radius, 2);
  return turned_back(lying, *solution, squares, radius ? 3 : 4, static_cast<int>(points.size()));
}

std::optional<CentreFit> fit_circle(std::span<const Vector> points, std::optional<double> radius) {
  if (points.size() < 3) return std::nullopt;
  const Lying lying = lie_down(points);
  const Vector& spread = lying.axes.values;
  if (is_flat(spread.y, spread.x)) return std::nullopt;
  auto solution = iterate(lying.points, true, radius, std::sqrt(spread.x));
  if (!solution) return std::nullopt;
  double squares = 0;
  for (const Vector& each : lying.points) {
    const Vector arm = each - solution->centre;
    squares += std::pow(std::hypot(arm.x, arm.y) - solution->radius, 2) + each.z * each.z;
  }
  // Off the plane, the centre is as uncertain as the plane's height and its two tilts make it there.
  const auto count = static_cast<double>(points.size());
  const Vector& at = solution->centre;
  solution->cofactor[2] = {};
  solution->cofactor[2][2] = (1 + at.x * at.x / spread.x + at.y * at.y / spread.y) / count;
  // Each point is observed in the plane and off it; three unknowns are the plane's.
  return turned_back(lying, *solution, squares, radius ? 5 : 6, 2 * static_cast<int>(points.size()));
}

}  // namespace kestrine::simulator
