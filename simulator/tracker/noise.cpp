#include "simulator/tracker/noise.h"

#include <cmath>

namespace kestrine::simulator {
namespace {

// Columns: the directions in which the horizontal angle, the vertical angle and the distance grow.
Matrix beam_axes(const Vector& target) {
  const Polar polar = to_polar(target);
  const double sh = std::sin(polar.horizontal), ch = std::cos(polar.horizontal);
  const double sv = std::sin(polar.vertical), cv = std::cos(polar.vertical);
  return Matrix{{-sh, ch * cv, ch * sv}, {ch, sh * cv, sh * sv}, {0, -sv, cv}};
}

}  // namespace

Noise::Noise(std::uint64_t seed, NoiseFigures figures) : figures_(figures), engine_(seed) {}

double Noise::across(double distance) const {
  return figures_.across_offset + figures_.across_per_metre * distance;
}

Vector Noise::deviation(double distance) {
  const double sigma = across(distance);
  const double horizontal = normal_(engine_);
  const double vertical = normal_(engine_);
  return {sigma * horizontal, sigma * vertical, figures_.along * normal_(engine_)};
}

Vector Noise::attitude_deviation() {
  const double x = normal_(engine_);
  const double y = normal_(engine_);
  return figures_.attitude * Vector{x, y, normal_(engine_)};
}

Vector Noise::displaced(const Vector& target, const Vector& deviation) {
  return target + beam_axes(target) * deviation;
}

Matrix Noise::covariance(const Vector& target, const Matrix& of_deviations) {
  const Matrix axes = beam_axes(target);
  return axes * of_deviations * axes.transpose();
}

Matrix Noise::covariance(const Vector& target) const {
  const double sigma = across(length(target));
  const Vector deviations{sigma, sigma, figures_.along};
  return covariance(target, deviations.cwiseAbs2().asDiagonal());
}

}  // namespace kestrine::simulator
