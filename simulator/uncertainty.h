// Standard deviations and covariances in the form in which results carry them.
#pragma once

#include "simulator/frame.h"

namespace kestrine::simulator {

struct Uncertainty {
  Vector deviations;  // of the three values
  double total = 0;   // a length whatever the coordinate system: of the point's distance from the truth
  double covariance12 = 0;
  double covariance13 = 0;
  double covariance23 = 0;
};

// Of a point whose X, Y, Z in the tracker's own system have that covariance, told in the frame.
Uncertainty uncertainty(const Frame& frame, const Vector& point, const Matrix& covariance);

}  // namespace kestrine::simulator
