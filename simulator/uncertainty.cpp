#include "simulator/uncertainty.h"

#include <cmath>

namespace kestrine::simulator {

Uncertainty uncertainty(const Frame& frame, const Vector& point, const Matrix& covariance) {
  const Matrix told = frame.covariance_outside(point, covariance);
  const double spread = std::sqrt(covariance[0][0] + covariance[1][1] + covariance[2][2]);
  return {{std::sqrt(told[0][0]), std::sqrt(told[1][1]), std::sqrt(told[2][2])},
          spread * frame.transformation.scale * length_factor(frame.length),
          told[0][1],
          told[0][2],
          told[1][2]};
}

}  // namespace kestrine::simulator
