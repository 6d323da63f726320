// The centre of a sphere or a circle out of points on it, by least squares.
#pragma once

#include <optional>
#include <span>

#include "simulator/mathematics/geometry.h"

namespace kestrine::simulator {

struct CentreFit {
  Vector centre;
  double radius = 0;
  double rms = 0;  // of the distances from the fitted shape
  // Of a point's coordinate, as the residuals show it; none where there are no more points than unknowns.
  std::optional<double> variance;
  Matrix cofactor;  // times a point's variance: the covariance of the centre
};

// Nothing for too few points, for points that leave the centre open (a sphere's in a plane, a circle's on a line)
// and where no centre fits. A radius that is given stays as it is.
std::optional<CentreFit> fit_sphere(std::span<const Vector> points, std::optional<double> radius);
// The circle may lie in any plane, which is found first.
std::optional<CentreFit> fit_circle(std::span<const Vector> points, std::optional<double> radius);

}  // namespace kestrine::simulator
