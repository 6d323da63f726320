#include "simulator/inclination.h"

#include <cmath>
#include <numbers>

namespace kestrine::simulator {

Polar level_position(std::size_t number) {
  const double quarter = std::numbers::pi / 2;
  return {wrapped(quarter * static_cast<double>(number)), quarter, 1};
}

Inclination read_inclination(Noise& noise, double horizontal, const Inclination& index) {
  const double s = std::sin(horizontal), c = std::cos(horizontal);
  const double along = kOutOfLevel.along * c + kOutOfLevel.across * s;
  const double across = kOutOfLevel.across * c - kOutOfLevel.along * s;
  return {along + kSensorIndex.along - index.along + kSensorNoise * noise.normal(),
          across + kSensorIndex.across - index.across + kSensorNoise * noise.normal()};
}

Inclination tilt_of(const Round& r) {
  return {(r[0].along - r[1].across - r[2].along + r[3].across) / 4,
          (r[0].across + r[1].along - r[2].across - r[3].along) / 4};
}

Inclination index_of(const Round& r) {
  return {(r[0].along + r[1].along + r[2].along + r[3].along) / 4,
          (r[0].across + r[1].across + r[2].across + r[3].across) / 4};
}

}  // namespace kestrine::simulator
