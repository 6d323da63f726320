#include "simulator/mathematics/transformation_fit.h"

#include <Eigen/Geometry>
#include <Eigen/LU>
#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include "simulator/mathematics/least_squares.h"

namespace kestrine::simulator {
namespace {

constexpr std::size_t kFewestPoints = 3;
// A point given as exact is taken to be so to a micrometre: several of them may contradict each other.
constexpr double kExact = 1e-6;
constexpr int kMostSteps = 100;
constexpr double kConverged = 1e-6;     // of the weighted_squares: what one more step can win does not matter
constexpr double kSmallestStep = 1e-4;  // part of a whole one
constexpr double kNoAxes = 1e-9;        // two of the rotations' axes fall together
// Points nearer to one line than this part of their extent show no rotation about it.
constexpr double kNarrow = 1e-4;
constexpr std::size_t kRotation = 3;  // the first of the rotations among the parameters
constexpr std::size_t kScale = 6;

using Unknowns = Eigen::Vector<double, kUnknowns>;

Vector rejection(const Vector& a, const Vector& line) {
  return a - (a.dot(line) / line.dot(line)) * line;
}

// The point for which the measure is largest.
template <class Measure>
std::size_t farthest(std::span<const Vector> points, const Measure& measure) {
  const auto closer = [&](const Vector& a, const Vector& b) { return measure(a) < measure(b); };
  return static_cast<std::size_t>(std::max_element(points.begin(), points.end(), closer) - points.begin());
}

// Three points that lie well apart.
std::array<std::size_t, 3> corners(std::span<const Vector> points) {
  Vector middle;
  for (const Vector& each : points) middle += (1.0 / static_cast<double>(points.size())) * each;
  const std::size_t a = farthest(points, [&](const Vector& p) { return length(p - middle); });
  const std::size_t b = farthest(points, [&](const Vector& p) { return length(p - points[a]); });
  const Vector line = points[b] - points[a];
  return {a, b, farthest(points, [&](const Vector& p) { return length(rejection(p - points[a], line)); })};
}

// X along the first two corners, the third in the plane of X and Y.
std::optional<Matrix> axes_through(std::span<const Vector> points, const std::array<std::size_t, 3>& corners) {
  const Vector line = points[corners[1]] - points[corners[0]];
  const Vector off = rejection(points[corners[2]] - points[corners[0]], line);
  if (!(length(off) > kNarrow * length(line))) return std::nullopt;
  Matrix axes;
  axes << line / length(line), off / length(off), Vector::Zero();
  axes.col(2) = axes.col(0).cross(axes.col(1));
  return axes;
}

// From one list to the other, as three of their points show it: a start for the fit. None of fewer than three, and
// none of points on a line.
std::optional<Matrix> rough_rotation(std::span<const Vector> to, std::span<const Vector> from) {
  if (from.size() < 3) return std::nullopt;
  const auto chosen = corners(from);
  const auto from_axes = axes_through(from, chosen);
  const auto to_axes = axes_through(to, chosen);
  if (!from_axes || !to_axes) return std::nullopt;
  return *to_axes * from_axes->transpose();
}

Matrix transformed(const Pose& pose, const Matrix& covariance) {
  return pose.scale * pose.scale * (pose.rotation * covariance * pose.rotation.transpose());
}

// Where a fit stands. The angles say the same as the pose's rotation.
struct Estimate {
  Pose pose;
  Vector angles;

  Unknowns values() const { return (Unknowns() << pose.shift, angles, pose.scale).finished(); }
};

// Columns: the axes about which the three angles rotate, in the system rotated into.
Matrix axes_of(const Vector& angles) {
  const Matrix about_z = rotation({0, 0, angles.z()});
  Matrix axes;
  axes << (about_z * rotation({0, angles.y(), 0})).col(0), about_z.col(1), Vector::UnitZ();
  return axes;
}

// One direction in which a pair of points says something.
struct Observation {
  std::size_t pair;
  Vector direction;
  double deviation;
};

class Fit {
 public:
  Fit(std::span<const KnownPoint> nominal, std::span<const KnownPoint> actual, const Parameters& given)
      : nominal_(nominal), actual_(actual), given_(given) {
    for (const Parameter& each : given) is_free_.push_back(each.deviation > 0);
    rotates_freely_ = !is_bound(3) && !is_bound(4) && !is_bound(5);
  }

  std::optional<TransformationFit> best() const;

 private:
  // Fixed, or an observation with a weight.
  bool is_bound(std::size_t index) const { return !is_approximate(given_[index].deviation); }
  bool is_observed(std::size_t index) const { return is_free_[index] && is_bound(index); }

  std::vector<Estimate> initial_estimates(const std::optional<Matrix>& rough) const;
  Estimate initial_estimate(const Vector& angles) const;
  std::optional<std::pair<Estimate, double>> minimise(Estimate estimate) const;
  std::vector<Observation> observations(const Estimate& estimate) const;
  LeastSquares linearised(const Estimate& estimate, const std::vector<Observation>& observations) const;
  double weighted_squares(const Estimate& estimate, const std::vector<Observation>& observations) const;
  Estimate moved(const Estimate& estimate, const Unknowns& step) const;
  std::optional<TransformationFit> result(const Estimate& estimate) const;
  Unknowns deviations(const Estimate& estimate, const Eigen::MatrixXd& cofactors) const;
  double prior_residual(const Estimate& estimate, std::size_t index) const;

  // What moves the actual point along a direction in which it is unknown is no residual: the point is taken to lie
  // where it fits best.
  struct Residual {
    Vector value;  // nominal less actual
    Vector arm;    // of the actual point: rotated and scaled, not shifted
  };
  Residual residual(const Estimate& estimate, std::size_t pair) const {
    const Pose& pose = estimate.pose;
    Residual found{{}, pose.scale * (pose.rotation * actual_[pair].place)};
    found.value = nominal_[pair].place - pose.shift - found.arm;
    for (const Vector& each : actual_[pair].unknown) {
      const Vector unknown = pose.rotation * each;
      const Vector along = found.value.dot(unknown) * unknown;
      found.value -= along;
      found.arm += along;
    }
    return found;
  }

  std::span<const KnownPoint> nominal_;
  std::span<const KnownPoint> actual_;
  Parameters given_;
  std::vector<bool> is_free_;
  // No rotation is bound: steps then rotate about fixed axes, which never fall together as those of the angles do.
  bool rotates_freely_ = false;
};

Estimate Fit::initial_estimate(const Vector& angles) const {
  Estimate estimate{{{}, rotation(angles), given_[kScale].value}, angles};
  const double pairs = static_cast<double>(actual_.size());
  Vector nominal, actual;
  for (std::size_t i = 0; i < actual_.size(); ++i) {
    nominal += (1 / pairs) * nominal_[i].place;
    actual += (1 / pairs) * actual_[i].place;
  }
  if (!is_bound(kScale)) {
    double nominal_spread = 0, actual_spread = 0;
    for (std::size_t i = 0; i < actual_.size(); ++i) {
      nominal_spread = std::hypot(nominal_spread, length(nominal_[i].place - nominal));
      actual_spread = std::hypot(actual_spread, length(actual_[i].place - actual));
    }
    estimate.pose.scale = nominal_spread / actual_spread;
  }
  estimate.pose.shift = nominal - estimate.pose.scale * (estimate.pose.rotation * actual);
  for (std::size_t i = 0; i < 3; ++i) {
    if (is_bound(i)) estimate.pose.shift[static_cast<Eigen::Index>(i)] = given_[i].value;
  }
  return estimate;
}

std::vector<Estimate> Fit::initial_estimates(const std::optional<Matrix>& rough) const {
  const auto with_given = [&](const Vector& angles, const auto& is_taken) {
    const auto choose = [&](std::size_t index, double otherwise) {
      return is_taken(index) ? given_[index].value : otherwise;
    };
    return initial_estimate({choose(3, angles.x()), choose(4, angles.y()), choose(5, angles.z())});
  };
  const auto not_unknown = [&](std::size_t index) { return !is_unknown(given_[index].deviation); };
  if (!rough) return {with_given({}, not_unknown)};
  const Vector angles = rotation_angles(*rough);
  const auto bound = [&](std::size_t index) { return is_bound(index); };
  if (rotates_freely_) return {with_given(angles, bound)};
  // The same rotation has two triples of angles, and what is bound may belong to either.
  constexpr double kHalf = std::numbers::pi;
  const Vector same{wrapped(angles.x() + kHalf), wrapped(kHalf - angles.y()), wrapped(angles.z() + kHalf)};
  return {with_given(angles, bound), with_given(same, bound), with_given(angles, not_unknown)};
}

std::vector<Observation> Fit::observations(const Estimate& estimate) const {
  std::vector<Observation> all;
  for (std::size_t i = 0; i < actual_.size(); ++i) {
    std::vector<Vector> unknown = nominal_[i].unknown;
    for (const Vector& each : actual_[i].unknown) {
      Vector rest = estimate.pose.rotation * each;
      for (const Vector& before : unknown) rest = rejection(rest, before);
      if (const double left = length(rest); left > kNarrow) unknown.push_back(rest / left);
    }
    Matrix covariance = nominal_[i].covariance + transformed(estimate.pose, actual_[i].covariance);
    // A negative variance tells the unknown directions from all others.
    const double negative = -(covariance.trace() + kExact * kExact);
    for (const Vector& each : unknown) {
      const Matrix along = each * each.transpose();
      const Matrix aside = Matrix::Identity() - along;
      covariance = aside * covariance * aside + negative * along;
    }
    const Axes axes = principal_axes(covariance);
    for (int k = 0; k < 3; ++k) {
      if (axes.values[k] < negative / 2) continue;
      const double deviation = std::max(kExact, std::sqrt(std::max(0.0, axes.values[k])));
      all.push_back({i, axes.directions.col(k), deviation});
    }
  }
  return all;
}

// Bound angles start from their observed values and never jump: no whole turns come in between.
double Fit::prior_residual(const Estimate& estimate, std::size_t index) const {
  return (given_[index].value - estimate.values()[static_cast<Eigen::Index>(index)]) / given_[index].deviation;
}

double Fit::weighted_squares(const Estimate& estimate, const std::vector<Observation>& observations) const {
  double sum = 0;
  for (const Observation& each : observations)
    sum += std::pow(each.direction.dot(residual(estimate, each.pair).value) / each.deviation, 2);
  for (std::size_t i = 0; i < kUnknowns; ++i) {
    if (is_observed(i)) sum += std::pow(prior_residual(estimate, i), 2);
  }
  return sum;
}

LeastSquares Fit::linearised(const Estimate& estimate, const std::vector<Observation>& observations) const {
  const Matrix axes = rotates_freely_ ? Matrix(Matrix::Identity()) : axes_of(estimate.angles);
  LeastSquares equations(is_free_);
  for (const Observation& each : observations) {
    const auto [value, arm] = residual(estimate, each.pair);
    const Vector along = each.direction / each.deviation;
    Unknowns coefficients;
    coefficients << along, axes.transpose() * arm.cross(along), along.dot(arm) / estimate.pose.scale;
    equations.add(coefficients, along.dot(value));
  }
  for (std::size_t i = 0; i < kUnknowns; ++i) {
    if (!is_observed(i)) continue;
    equations.add(Unknowns::Unit(static_cast<Eigen::Index>(i)) / given_[i].deviation, prior_residual(estimate, i));
  }
  return equations;
}

Estimate Fit::moved(const Estimate& estimate, const Unknowns& step) const {
  Estimate next = estimate;
  next.pose.shift += step.head<3>();
  next.pose.scale += step[kScale];
  const Vector rotated = step.segment<3>(kRotation);
  if (rotates_freely_) {
    next.pose.rotation = rotation(rotated) * estimate.pose.rotation;
    next.angles = rotation_angles(next.pose.rotation);
  } else {
    next.angles += rotated;
    next.pose.rotation = rotation(next.angles);
  }
  return next;
}

std::optional<std::pair<Estimate, double>> Fit::minimise(Estimate estimate) const {
  for (int i = 0; i < kMostSteps; ++i) {
    const std::vector<Observation> observed = observations(estimate);
    const auto solution = linearised(estimate, observed).solve();
    if (!solution) return std::nullopt;
    const double before = weighted_squares(estimate, observed);
    double part = 1;
    Estimate next = moved(estimate, solution->unknowns);
    while (part > kSmallestStep && !(weighted_squares(next, observed) <= before)) {
      part /= 2;
      next = moved(estimate, part * solution->unknowns);
    }
    if (part <= kSmallestStep) return std::pair(estimate, before);  // rounding is all that is left
    estimate = next;
    if (before - solution->residual_squares <= kConverged * (1 + before))
      return std::pair(estimate, weighted_squares(next, observed));
  }
  return std::nullopt;
}

Unknowns Fit::deviations(const Estimate& estimate, const Eigen::MatrixXd& cofactors) const {
  Unknowns deviations = cofactors.diagonal().cwiseSqrt();
  if (!rotates_freely_) return deviations;
  // From rotations about fixed axes to the angles, whose axes are askew.
  const Matrix axes = axes_of(estimate.angles);
  if (std::abs(axes.determinant()) > kNoAxes) {
    const Matrix inverse = axes.inverse();
    const Matrix of_angles = inverse * cofactors.block<3, 3>(kRotation, kRotation) * inverse.transpose();
    deviations.segment<3>(kRotation) = of_angles.diagonal().cwiseSqrt();
  } else {
    deviations.segment<3>(kRotation).setConstant(kUnknown);
  }
  return deviations;
}

std::optional<TransformationFit> Fit::result(const Estimate& estimate) const {
  TransformationFit fit;
  const std::vector<Observation> observed = observations(estimate);
  const Pose& pose = estimate.pose;
  for (const KnownPoint& each : actual_) {
    KnownPoint there{pose.apply(each.place), transformed(pose, each.covariance)};
    for (const Vector& direction : each.unknown) there.unknown.push_back(pose.rotation * direction);
    fit.points.push_back({there, {}});
  }
  for (const Observation& each : observed)
    fit.points[each.pair].residual -= each.direction.dot(residual(estimate, each.pair).value) * each.direction;
  double squares = 0;
  for (const FittedPoint& each : fit.points) {
    squares += each.residual.squaredNorm();
    fit.max_deviation = std::max(fit.max_deviation, length(each.residual));
  }
  fit.rms = std::sqrt(squares / static_cast<double>(fit.points.size()));

  const LeastSquares equations = linearised(estimate, observed);
  const auto solution = equations.solve();
  if (!solution) return std::nullopt;
  const auto spare = equations.equations() - std::count(is_free_.begin(), is_free_.end(), true);
  if (spare > 0) fit.variance_factor = weighted_squares(estimate, observed) / static_cast<double>(spare);
  const Unknowns values = estimate.values();
  const Unknowns before = deviations(estimate, solution->cofactors);
  double sum = fit.rms + fit.variance_factor;
  for (int i = 0; i < values.size(); ++i) {
    const double deviation = is_unknown(before[i]) ? kUnknown : before[i] * std::sqrt(fit.variance_factor);
    fit.parameters[static_cast<std::size_t>(i)] = {values[i], deviation};
    sum += values[i] + deviation;
  }
  if (!std::isfinite(sum)) return std::nullopt;
  return fit;
}

std::optional<TransformationFit> Fit::best() const {
  const std::size_t pairs = actual_.size();
  if (pairs < kFewestPoints || nominal_.size() != pairs) return std::nullopt;
  if (is_bound(kScale) && !(given_[kScale].value > 0)) return std::nullopt;
  std::vector<Vector> to, from;  // of the pairs that are known in all directions
  for (std::size_t i = 0; i < pairs; ++i) {
    if (!nominal_[i].unknown.empty() || !actual_[i].unknown.empty()) continue;
    to.push_back(nominal_[i].place);
    from.push_back(actual_[i].place);
  }
  const auto rough = rough_rotation(to, from);
  if (rotates_freely_ && from.size() == pairs && !rough) return std::nullopt;
  std::optional<std::pair<Estimate, double>> best;
  for (const Estimate& start : initial_estimates(rough)) {
    const auto minimum = minimise(start);
    if (minimum && (!best || minimum->second < best->second)) best = minimum;
  }
  if (!best || !(best->first.pose.scale > 0)) return std::nullopt;
  return result(best->first);
}

}  // namespace

Pose TransformationFit::pose() const {
  const auto& p = parameters;
  return {{p[0].value, p[1].value, p[2].value}, rotation({p[3].value, p[4].value, p[5].value}), p[6].value};
}

std::optional<TransformationFit> fit_transformation(std::span<const KnownPoint> nominal,
                                                    std::span<const KnownPoint> actual, const Parameters& given) {
  return Fit(nominal, actual, given).best();
}

}  // namespace kestrine::simulator
