// The transformation that brings one list of points onto another: weighted least squares in three shifts, three
// rotations and a scale. Metres and radians.
#pragma once

#include <array>
#include <optional>
#include <span>
#include <vector>

#include "simulator/mathematics/geometry.h"

namespace kestrine::simulator {

// One point as it is known: in every direction but those that are unknown it has that covariance.
struct KnownPoint {
  Vector place;
  Matrix covariance = Matrix::Zero();
  std::vector<Vector> unknown = {};  // unit vectors at right angles to each other
};

struct Parameter {
  double value = 0;
  double deviation = kUnknown;
};

inline constexpr std::size_t kUnknowns = 7;
// Shifts along X, Y, Z; rotations about X, Y, Z as `rotation` takes them; scale.
using Parameters = std::array<Parameter, kUnknowns>;

struct FittedPoint {
  KnownPoint actual;  // in the nominal points' system
  Vector residual;    // from the nominal point to the actual one; nothing in directions that are unknown
};

struct TransformationFit {
  Parameters parameters;  // deviations after the fit: 0 of what was fixed, unknown where a rotation has no meaning
  double rms = 0;         // of the residuals' lengths
  double max_deviation = 0;
  double variance_factor = 1;  // of the deviations given; 1 where nothing is left over to judge them by
  std::vector<FittedPoint> points;

  Pose pose() const;
};

// None where the points do not determine the parameters: fewer than three, lists of different lengths, points on
// a line, unknown coordinates or contradictions beyond hope.
std::optional<TransformationFit> fit_transformation(std::span<const KnownPoint> nominal,
                                                    std::span<const KnownPoint> actual, const Parameters& given);

}  // namespace kestrine::simulator
