// What separates a reading from the truth: angle and distance noise of a tracker of this class.
#pragma once

#include <cstdint>
#include <random>

#include "simulator/mathematics/geometry.h"

namespace kestrine::simulator {

// One reading's standard deviations. Angles are stated the way data sheets state them, as a length across the beam
// that grows with the distance; the figures are typical of the class, not of a model.
struct NoiseFigures {
  double across_offset = 15e-6;    // metres
  double across_per_metre = 6e-6;  // metres each metre
  double along = 10e-6;            // metres
  double attitude = 60e-6;         // radians: of the probe about each axis, as the camera sees it
};

class Noise {
 public:
  explicit Noise(std::uint64_t seed, NoiseFigures figures = {});

  // A reading's deviation: across by the horizontal angle, across by the vertical angle, along the beam; metres.
  Vector deviation(double distance);
  // A reading's deviation of the probe's attitude: the small rotations about the tracker's axes, radians.
  Vector attitude_deviation();
  // Where a reading with that deviation puts a target.
  static Vector displaced(const Vector& target, const Vector& deviation);
  // Of one reading of a target there, as a covariance of its X, Y, Z; what the tracker claims beforehand.
  Matrix covariance(const Vector& target) const;
  // The same for deviations with any covariance.
  static Matrix covariance(const Vector& target, const Matrix& of_deviations);
  double across(double distance) const;
  // Of deviation one, for sensors with figures of their own.
  double normal() { return normal_(engine_); }
  const NoiseFigures& figures() const { return figures_; }

 private:
  NoiseFigures figures_;
  std::mt19937_64 engine_;
  std::normal_distribution<double> normal_;
};

}  // namespace kestrine::simulator
