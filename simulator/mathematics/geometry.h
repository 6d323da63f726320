// Places and directions, in metres and radians. The tracker's own system is right-handed: the origin is the
// crossing of its axes, Z points up, X to where the horizontal angle is zero.
#pragma once

#include <Eigen/Core>
#include <functional>

namespace kestrine::simulator {

// Both are zero unless said otherwise: the build sets EIGEN_INITIALIZE_MATRICES_BY_ZERO.
using Vector = Eigen::Vector3d;
using Matrix = Eigen::Matrix3d;

// By value: what Eigen's own constructors take by reference may lie misaligned in a packed record.
inline Vector vector(double x, double y, double z) {
  return {x, y, z};
}
// Neither overflows nor underflows on the way, as the sum of squares does.
double length(const Vector& a);
// About X by the first angle, then about Y by the second, then about Z by the third; all axes fixed.
Matrix rotation(const Vector& angles);
// The angles that `rotation` makes `a` of.
Vector rotation_angles(const Matrix& a);

// What the encoders and the distance meter see: the horizontal angle counter-clockwise from X in (-pi, pi], the
// vertical angle down from the zenith in [0, pi], the distance.
struct Polar {
  double horizontal = 0;
  double vertical = 0;
  double distance = 0;
};

Polar to_polar(const Vector& point);
Vector to_vector(const Polar& polar);
// An angle brought into (-pi, pi].
double wrapped(double angle);

// Scaled, rotated, then shifted.
struct Pose {
  Vector shift;
  Matrix rotation = Matrix::Identity();
  double scale = 1;
  Vector apply(const Vector& point) const;
  Vector undo(const Vector& point) const;
  friend bool operator==(const Pose&, const Pose&) = default;
};

// By its diagonal, and by its elements 1 2, 1 3 and 2 3.
Matrix symmetric(const Vector& diagonal, const Vector& others);
// Derivatives of a function of three values in each of them, by differences of those steps.
Matrix jacobian(const std::function<Vector(const Vector&)>& function, const Vector& at, const Vector& steps);
// Carries a covariance matrix through a function of three values into three.
Matrix propagate(const std::function<Vector(const Vector&)>& function, const Vector& at, const Matrix& covariance);

// In the place of a standard deviation, and the same in every unit: 0 is of what is exact, these two of what is free.
inline constexpr double kApproximate = 1e15;  // near the value given
inline constexpr double kUnknown = 1e35;      // the value given means nothing
// Whoever worked out one of them may have come only near it.
inline bool is_approximate(double deviation) {
  return deviation > 0.1 * kApproximate;
}
inline bool is_unknown(double deviation) {
  return deviation > 0.1 * kUnknown;
}

// Axes of a symmetric matrix: the eigenvalues, largest first, and a rotation whose columns are their directions.
struct Axes {
  Vector values;
  Matrix directions = Matrix::Identity();
};
Axes principal_axes(const Matrix& symmetric);

}  // namespace kestrine::simulator
