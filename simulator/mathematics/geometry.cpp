#include "simulator/mathematics/geometry.h"

#include <Eigen/Jacobi>
#include <Eigen/LU>
#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <utility>

namespace kestrine::simulator {

double length(const Vector& a) {
  return std::hypot(a.x(), a.y(), a.z());
}

Matrix rotation(const Vector& angles) {
  const double sx = std::sin(angles.x()), cx = std::cos(angles.x());
  const double sy = std::sin(angles.y()), cy = std::cos(angles.y());
  const double sz = std::sin(angles.z()), cz = std::cos(angles.z());
  const Matrix about_x{{1, 0, 0}, {0, cx, -sx}, {0, sx, cx}};
  const Matrix about_y{{cy, 0, sy}, {0, 1, 0}, {-sy, 0, cy}};
  const Matrix about_z{{cz, -sz, 0}, {sz, cz, 0}, {0, 0, 1}};
  return about_z * about_y * about_x;
}

Vector rotation_angles(const Matrix& a) {
  // With Y at a right angle only X and Z together say something: X follows whatever was found for Z.
  const double z = std::atan2(a(1, 0), a(0, 0));
  const double sz = std::sin(z), cz = std::cos(z);
  return {std::atan2(sz * a(0, 2) - cz * a(1, 2), cz * a(1, 1) - sz * a(0, 1)),
          std::atan2(-a(2, 0), std::hypot(a(0, 0), a(1, 0))), z};
}

Polar to_polar(const Vector& point) {
  return {std::atan2(point.y(), point.x()), std::atan2(std::hypot(point.x(), point.y()), point.z()), length(point)};
}

Vector to_vector(const Polar& polar) {
  const double level = polar.distance * std::sin(polar.vertical);
  return {level * std::cos(polar.horizontal), level * std::sin(polar.horizontal),
          polar.distance * std::cos(polar.vertical)};
}

double wrapped(double angle) {
  const double within = std::remainder(angle, 2 * std::numbers::pi);
  return within <= -std::numbers::pi ? within + 2 * std::numbers::pi : within;
}

Vector Pose::apply(const Vector& point) const {
  return shift + scale * (rotation * point);
}

Vector Pose::undo(const Vector& point) const {
  return (1 / scale) * (rotation.transpose() * (point - shift));
}

Matrix symmetric(const Vector& diagonal, const Vector& others) {
  return Matrix{{diagonal.x(), others.x(), others.y()},
                {others.x(), diagonal.y(), others.z()},
                {others.y(), others.z(), diagonal.z()}};
}

Matrix jacobian(const std::function<Vector(const Vector&)>& function, const Vector& at, const Vector& steps) {
  Matrix slopes;
  for (int i = 0; i < 3; ++i) {
    const Vector step = steps[i] * Vector::Unit(i);
    slopes.col(i) = (1 / (2 * steps[i])) * (function(at + step) - function(at - step));
  }
  return slopes;
}

Matrix propagate(const std::function<Vector(const Vector&)>& function, const Vector& at, const Matrix& covariance) {
  // Micrometres and microradians: small against every distance measured, large against rounding.
  const Matrix slopes = jacobian(function, at, Vector::Constant(1e-6));
  return slopes * covariance * slopes.transpose();
}

// By Jacobi's method and not by Eigen's solver: it leaves diagonal matrices without noise, and the axes' signs, which
// an error ellipsoid's angles show, are those that this server has always had.
Axes principal_axes(const Matrix& symmetric) {
  Matrix left = symmetric;
  Matrix directions = Matrix::Identity();
  constexpr int kSweeps = 12;  // convergence is quadratic: a handful already reach rounding
  for (int sweep = 0; sweep < kSweeps; ++sweep) {
    for (const auto& [p, q] : {std::pair{0, 1}, {0, 2}, {1, 2}}) {
      const double angle = 0.5 * std::atan2(2 * left(p, q), left(q, q) - left(p, p));
      const Eigen::JacobiRotation<double> rotation(std::cos(angle), std::sin(angle));
      left.applyOnTheLeft(p, q, rotation.adjoint());
      left.applyOnTheRight(p, q, rotation);
      directions.applyOnTheRight(p, q, rotation);
    }
  }
  std::array order{0, 1, 2};
  std::sort(order.begin(), order.end(), [&](int a, int b) { return left(a, a) > left(b, b); });
  Axes axes{left.diagonal()(order), directions(Eigen::all, order)};
  if (axes.directions.determinant() < 0) axes.directions.col(2) *= -1;
  return axes;
}

}  // namespace kestrine::simulator
