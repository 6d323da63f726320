// How the tracker stands, and what the inclination sensor in its head reads of that.
#pragma once

#include <array>
#include <cmath>
#include <numbers>

#include "simulator/tracker/noise.h"

namespace kestrine::simulator {

// The sensor's two axes turn with the head: along the direction it points in, and across.
struct Inclination {
  double along = 0;
  double across = 0;
};

// A few seconds of arc out of level, about the axes of the standing head.
inline constexpr Inclination kOutOfLevel{12e-6, -7e-6};
// What the sensor reads when it is level. Only a compensation takes it out of the readings.
inline constexpr Inclination kSensorIndex{3e-6, -2e-6};
inline constexpr double kSensorNoise = 0.2e-6;

// Where the head stands to have its inclination read: four directions, a quarter turn apart.
inline constexpr std::size_t kLevelPositions = 4;
inline Polar level_position(std::size_t number) {
  const double quarter = std::numbers::pi / 2;
  return {wrapped(quarter * static_cast<double>(number)), quarter, 1};
}

// With that much taken out as the sensor's index.
inline Inclination read_inclination(Noise& noise, double horizontal, const Inclination& index) {
  const double s = std::sin(horizontal), c = std::cos(horizontal);
  const double along = kOutOfLevel.along * c + kOutOfLevel.across * s;
  const double across = kOutOfLevel.across * c - kOutOfLevel.along * s;
  return {along + kSensorIndex.along - index.along + kSensorNoise * noise.normal(),
          across + kSensorIndex.across - index.across + kSensorNoise * noise.normal()};
}

// Half turns take the index out of the tilt and the tilt out of the index. Readings in the order of the positions.
using Round = std::array<Inclination, kLevelPositions>;
inline Inclination tilt_of(const Round& r) {
  return {(r[0].along - r[1].across - r[2].along + r[3].across) / 4,
          (r[0].across + r[1].along - r[2].across - r[3].along) / 4};
}
inline Inclination index_of(const Round& r) {
  return {(r[0].along + r[1].along + r[2].along + r[3].along) / 4,
          (r[0].across + r[1].across + r[2].across + r[3].across) / 4};
}

}  // namespace kestrine::simulator
