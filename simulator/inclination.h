// How the tracker stands, and what the inclination sensor in its head reads of that.
#pragma once

#include <array>

#include "simulator/drive.h"
#include "simulator/noise.h"

namespace kestrine::simulator {

// The sensor's two axes turn with the head: along the direction it points in, and across.
struct Inclination {
  double along = 0;
  double across = 0;
  friend bool operator==(const Inclination&, const Inclination&) = default;
};

// A few seconds of arc out of level, about the axes of the standing head.
inline constexpr Inclination kOutOfLevel{12e-6, -7e-6};
// What the sensor reads when it is level. Only a compensation takes it out of the readings.
inline constexpr Inclination kSensorIndex{3e-6, -2e-6};
inline constexpr double kSensorNoise = 0.2e-6;

// Where the head stands to have its inclination read: four directions, a quarter turn apart.
inline constexpr std::size_t kLevelPositions = 4;
Polar level_position(std::size_t number);

// With that much taken out as the sensor's index.
Inclination read_inclination(Noise& noise, double horizontal, const Inclination& index);

// Half turns take the index out of the tilt and the tilt out of the index. Readings in the order of the positions.
using Round = std::array<Inclination, kLevelPositions>;
Inclination tilt_of(const Round& readings);
Inclination index_of(const Round& readings);

}  // namespace kestrine::simulator
