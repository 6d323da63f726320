#include "simulator/best_fit.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include "simulator/turn_seen.h"

namespace kestrine::simulator {
namespace {

constexpr std::size_t kFewestPoints = 3;
// A point told to be exact is taken to be so to a micrometre: several of them may contradict each other.
constexpr double kExact = 1e-6;
constexpr int kMostSteps = 100;
constexpr double kSettled = 1e-6;       // of the misfit: what one more step can win does not matter
constexpr double kSmallestStep = 1e-4;  // part of a whole one
constexpr double kNoAxes = 1e-9;        // two of the rotations' axes fall together
constexpr std::size_t kRotation = 3;    // the first of the rotations among the parameters
constexpr std::size_t kScale = 6;

Vector without(const Vector& a, const Vector& direction) {
  return a - dot(a, direction) * direction;
}

Matrix carried(const Pose& pose, const Matrix& covariance) {
  return pose.scale * pose.scale * (pose.turn * covariance * transposed(pose.turn));
}

// Where a fit stands. The angles and the turn say the same.
struct Estimate {
  Vector shift;
  Vector angles;
  Matrix turn = kIdentity;
  double scale = 1;

  Pose pose() const { return {shift, turn, scale}; }
  Unknowns values() const { return {shift.x, shift.y, shift.z, angles.x, angles.y, angles.z, scale}; }
};

// The axes about which the three angles turn, in the system turned into.
std::array<Vector, 3> axes_of(const Vector& angles) {
  const Matrix about_z = rotation({0, 0, angles.z});
  return {column(about_z * rotation({0, angles.y, 0}), 0), column(about_z, 1), {0, 0, 1}};
}

// One direction in which a pair of points says something.
struct Equation {
  std::size_t pair;
  Vector direction;
  double deviation;
};

class Fit {
 public:
  Fit(std::span<const KnownPoint> nominal, std::span<const KnownPoint> actual, const Parameters& given)
      : nominal_(nominal), actual_(actual), given_(given) {
    for (std::size_t i = 0; i < kUnknowns; ++i) is_free_[i] = given[i].deviation > 0;
    turns_freely_ = !is_bound(3) && !is_bound(4) && !is_bound(5);
  }

  std::optional<BestFit> best() const;

 private:
  // Fixed, or an observation with a weight.
  bool is_bound(std::size_t index) const { return !is_approximate(given_[index].deviation); }

  std::vector<Estimate> starts(const std::optional<Matrix>& seen) const;
  Estimate start(const Vector& angles) const;
  std::optional<std::pair<Estimate, double>> settle(Estimate estimate) const;
  std::vector<Equation> weigh(const Estimate& estimate) const;
  Triangle equations_at(const Estimate& estimate, const std::vector<Equation>& equations) const;
  double misfit(const Estimate& estimate, const std::vector<Equation>& equations) const;
  Estimate advanced(const Estimate& estimate, const Unknowns& step, double part) const;
  std::array<Vector, 3> axes(const Estimate& estimate) const;
  BestFit told(const Estimate& estimate) const;
  Unknowns deviations(const Estimate& estimate, const Triangle& triangle) const;
  double prior_residual(const Estimate& estimate, std::size_t index) const;

  // A pair as an estimate sees it. What moves the actual point along a direction in which it is unknown is no
  // residual: the point is taken to lie where it fits best.
  struct Seen {
    Vector residual;  // nominal less actual
    Vector arm;       // of the actual point: turned and scaled, not shifted
  };
  Seen see(const Estimate& estimate, std::size_t pair) const {
    Seen seen{{}, estimate.scale * (estimate.turn * actual_[pair].place)};
    seen.residual = nominal_[pair].place - estimate.shift - seen.arm;
    for (const Vector& each : actual_[pair].unknown) {
      const Vector unknown = estimate.turn * each;
      const Vector along = dot(seen.residual, unknown) * unknown;
      seen.residual = seen.residual - along;
      seen.arm = seen.arm + along;
    }
    return seen;
  }

  std::span<const KnownPoint> nominal_;
  std::span<const KnownPoint> actual_;
  Parameters given_;
  std::array<bool, kUnknowns> is_free_{};
  // No rotation is bound: steps then turn about fixed axes, which never fall together as those of the angles do.
  bool turns_freely_ = false;
};

Estimate Fit::start(const Vector& angles) const {
  Estimate estimate{{}, angles, rotation(angles), given_[kScale].value};
  const double pairs = static_cast<double>(actual_.size());
  Vector nominal, actual;
  for (std::size_t i = 0; i < actual_.size(); ++i) {
    nominal = nominal + (1 / pairs) * nominal_[i].place;
    actual = actual + (1 / pairs) * actual_[i].place;
  }
  if (!is_bound(kScale)) {
    double nominal_spread = 0, actual_spread = 0;
    for (std::size_t i = 0; i < actual_.size(); ++i) {
      nominal_spread = std::hypot(nominal_spread, length(nominal_[i].place - nominal));
      actual_spread = std::hypot(actual_spread, length(actual_[i].place - actual));
    }
    estimate.scale = nominal_spread / actual_spread;
  }
  estimate.shift = nominal - estimate.scale * (estimate.turn * actual);
  if (is_bound(0)) estimate.shift.x = given_[0].value;
  if (is_bound(1)) estimate.shift.y = given_[1].value;
  if (is_bound(2)) estimate.shift.z = given_[2].value;
  return estimate;
}

std::vector<Estimate> Fit::starts(const std::optional<Matrix>& seen) const {
  const auto with_given = [&](const Vector& angles, const auto& is_taken) {
    const auto choose = [&](std::size_t index, double otherwise) {
      return is_taken(index) ? given_[index].value : otherwise;
    };
    return start({choose(3, angles.x), choose(4, angles.y), choose(5, angles.z)});
  };
  const auto not_unknown = [&](std::size_t index) { return !is_unknown(given_[index].deviation); };
  if (!seen) return {with_given({}, not_unknown)};
  const Vector angles = rotation_angles(*seen);
  const auto bound = [&](std::size_t index) { return is_bound(index); };
  if (turns_freely_) return {with_given(angles, bound)};
  // The same turn has two triples of angles, and what is bound may belong to either.
  constexpr double kHalf = std::numbers::pi;
  const Vector same{wrapped(angles.x + kHalf), wrapped(kHalf - angles.y), wrapped(angles.z + kHalf)};
  return {with_given(angles, bound), with_given(same, bound), with_given(angles, not_unknown)};
}

std::vector<Equation> Fit::weigh(const Estimate& estimate) const {
  std::vector<Equation> equations;
  for (std::size_t i = 0; i < actual_.size(); ++i) {
    std::vector<Vector> unknown = nominal_[i].unknown;
    for (const Vector& each : actual_[i].unknown) {
      Vector rest = estimate.turn * each;
      for (const Vector& before : unknown) rest = without(rest, before);
      if (const double left = length(rest); left > kNarrow) unknown.push_back((1 / left) * rest);
    }
    Matrix covariance = nominal_[i].covariance + carried(estimate.pose(), actual_[i].covariance);
    // Less than nothing in the unknown directions tells their axes from all others.
    const double mark = covariance[0][0] + covariance[1][1] + covariance[2][2] + kExact * kExact;
    for (const Vector& each : unknown) {
      const Matrix along = outer(each, each);
      const Matrix aside = kIdentity + -1 * along;
      covariance = aside * covariance * aside + -mark * along;
    }
    const Axes axes = principal_axes(covariance);
    const std::array variances{axes.values.x, axes.values.y, axes.values.z};
    for (std::size_t k = 0; k < 3; ++k) {
      if (variances[k] < -mark / 2) continue;
      const double deviation = std::max(kExact, std::sqrt(std::max(0.0, variances[k])));
      equations.push_back({i, column(axes.directions, k), deviation});
    }
  }
  return equations;
}

// Bound angles start from their observed values and never jump: no whole turns come in between.
double Fit::prior_residual(const Estimate& estimate, std::size_t index) const {
  return (given_[index].value - estimate.values()[index]) / given_[index].deviation;
}

double Fit::misfit(const Estimate& estimate, const std::vector<Equation>& equations) const {
  double sum = 0;
  for (const Equation& each : equations) {
    const double residual = dot(each.direction, see(estimate, each.pair).residual) / each.deviation;
    sum += residual * residual;
  }
  for (std::size_t i = 0; i < kUnknowns; ++i) {
    if (is_free_[i] && is_bound(i)) sum += std::pow(prior_residual(estimate, i), 2);
  }
  return sum;
}

std::array<Vector, 3> Fit::axes(const Estimate& estimate) const {
  if (turns_freely_) return {Vector{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  return axes_of(estimate.angles);
}

Triangle Fit::equations_at(const Estimate& estimate, const std::vector<Equation>& equations) const {
  const auto axis = axes(estimate);
  Triangle triangle(is_free_);
  for (const Equation& each : equations) {
    const Seen seen = see(estimate, each.pair);
    const Vector along = (1 / each.deviation) * each.direction;
    const auto turned = [&](std::size_t k) { return dot(along, cross(axis[k], seen.arm)); };
    triangle.add({along.x, along.y, along.z, turned(0), turned(1), turned(2), dot(along, seen.arm) / estimate.scale},
                 dot(along, seen.residual));
  }
  for (std::size_t i = 0; i < kUnknowns; ++i) {
    if (!is_free_[i] || !is_bound(i)) continue;
    Unknowns coefficients{};
    coefficients[i] = 1 / given_[i].deviation;
    triangle.add(coefficients, prior_residual(estimate, i));
  }
  return triangle;
}

Estimate Fit::advanced(const Estimate& estimate, const Unknowns& step, double part) const {
  Estimate next = estimate;
  next.shift = estimate.shift + part * Vector{step[0], step[1], step[2]};
  next.scale += part * step[kScale];
  const Vector turn = part * Vector{step[3], step[4], step[5]};
  if (turns_freely_) {
    next.turn = rotation(turn) * estimate.turn;
    next.angles = rotation_angles(next.turn);
  } else {
    next.angles = estimate.angles + turn;
    next.turn = rotation(next.angles);
  }
  return next;
}

std::optional<std::pair<Estimate, double>> Fit::settle(Estimate estimate) const {
  for (int i = 0; i < kMostSteps; ++i) {
    const std::vector<Equation> equations = weigh(estimate);
    const Triangle triangle = equations_at(estimate, equations);
    const auto step = triangle.solution();
    if (!step) return std::nullopt;
    const double before = misfit(estimate, equations);
    double part = 1;
    Estimate next = advanced(estimate, *step, part);
    while (part > kSmallestStep && !(misfit(next, equations) <= before)) {
      part /= 2;
      next = advanced(estimate, *step, part);
    }
    if (part <= kSmallestStep) return std::pair(estimate, before);  // rounding is all that is left
    estimate = next;
    if (before - triangle.left_over() <= kSettled * (1 + before)) return std::pair(estimate, misfit(next, equations));
  }
  return std::nullopt;
}

Unknowns Fit::deviations(const Estimate& estimate, const Triangle& triangle) const {
  const auto cofactors = triangle.cofactors();
  Unknowns result{};
  for (std::size_t i = 0; i < kUnknowns; ++i) result[i] = std::sqrt(cofactors[i][i]);
  if (!turns_freely_) return result;
  // From turns about fixed axes to the angles, whose axes are askew.
  const auto [a, b, c] = axes_of(estimate.angles);
  const double volume = dot(a, cross(b, c));
  Matrix of_turns{};
  for (std::size_t i = 0; i < 3; ++i)
    for (std::size_t j = 0; j < 3; ++j) of_turns[i][j] = cofactors[kRotation + i][kRotation + j];
  const std::array inverse{cross(b, c), cross(c, a), cross(a, b)};
  for (std::size_t i = 0; i < 3; ++i) {
    const bool has_meaning = std::abs(volume) > kNoAxes;
    result[kRotation + i] =
        has_meaning ? std::sqrt(dot(inverse[i], of_turns * inverse[i])) / std::abs(volume) : kUnknown;
  }
  return result;
}

BestFit Fit::told(const Estimate& estimate) const {
  BestFit fit;
  const std::vector<Equation> equations = weigh(estimate);
  const Pose pose = estimate.pose();
  for (const KnownPoint& each : actual_) {
    KnownPoint moved{pose.apply(each.place), carried(pose, each.covariance)};
    for (const Vector& direction : each.unknown) moved.unknown.push_back(pose.turn * direction);
    fit.points.push_back({moved, {}});
  }
  for (const Equation& each : equations) {
    Vector& residual = fit.points[each.pair].residual;
    residual = residual - dot(each.direction, see(estimate, each.pair).residual) * each.direction;
  }
  double squares = 0;
  for (const FittedPoint& each : fit.points) {
    squares += dot(each.residual, each.residual);
    fit.max_deviation = std::max(fit.max_deviation, length(each.residual));
  }
  fit.rms = std::sqrt(squares / static_cast<double>(fit.points.size()));

  const Triangle triangle = equations_at(estimate, equations);
  const auto spare = triangle.equations() - std::count(is_free_.begin(), is_free_.end(), true);
  if (spare > 0) fit.variance_factor = misfit(estimate, equations) / static_cast<double>(spare);
  const Unknowns values = estimate.values();
  const Unknowns before = deviations(estimate, triangle);
  for (std::size_t i = 0; i < kUnknowns; ++i) {
    const bool has_meaning = !is_unknown(before[i]);
    fit.parameters[i] = {values[i], has_meaning ? before[i] * std::sqrt(fit.variance_factor) : kUnknown};
  }
  return fit;
}

std::optional<BestFit> Fit::best() const {
  const std::size_t pairs = actual_.size();
  if (pairs < kFewestPoints || nominal_.size() != pairs) return std::nullopt;
  if (is_bound(kScale) && !(given_[kScale].value > 0)) return std::nullopt;
  std::vector<Vector> to, from;  // of the pairs that are known in all directions
  for (std::size_t i = 0; i < pairs; ++i) {
    if (!nominal_[i].unknown.empty() || !actual_[i].unknown.empty()) continue;
    to.push_back(nominal_[i].place);
    from.push_back(actual_[i].place);
  }
  const auto seen = turn_seen(to, from);
  if (turns_freely_ && from.size() == pairs && !seen) return std::nullopt;
  std::optional<std::pair<Estimate, double>> best;
  for (const Estimate& start : starts(seen)) {
    const auto settled = settle(start);
    if (settled && (!best || settled->second < best->second)) best = settled;
  }
  if (!best || !(best->first.scale > 0)) return std::nullopt;
  BestFit fit = told(best->first);
  double sum = fit.rms + fit.variance_factor;
  for (const Parameter& each : fit.parameters) sum += each.value + each.deviation;
  if (!std::isfinite(sum)) return std::nullopt;
  return fit;
}

}  // namespace

Pose BestFit::pose() const {
  const auto& p = parameters;
  return {{p[0].value, p[1].value, p[2].value}, rotation({p[3].value, p[4].value, p[5].value}), p[6].value};
}

std::optional<BestFit> best_fit(std::span<const KnownPoint> nominal, std::span<const KnownPoint> actual,
                                const Parameters& given) {
  return Fit(nominal, actual, given).best();
}

}  // namespace kestrine::simulator
