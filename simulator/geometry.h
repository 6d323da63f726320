// Places and directions, in metres and radians. The tracker's own system is right-handed: the origin is the
// crossing of its axes, Z points up, X to where the horizontal angle is zero.
#pragma once

#include <array>
#include <functional>

namespace kestrine::simulator {

struct Vector {
  double x = 0;
  double y = 0;
  double z = 0;
  friend bool operator==(const Vector&, const Vector&) = default;
};

Vector operator+(const Vector& a, const Vector& b);
Vector operator-(const Vector& a, const Vector& b);
Vector operator*(double factor, const Vector& a);
double length(const Vector& a);
double dot(const Vector& a, const Vector& b);
Vector cross(const Vector& a, const Vector& b);

using Matrix = std::array<std::array<double, 3>, 3>;

inline constexpr Matrix kIdentity{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};

Matrix operator*(const Matrix& a, const Matrix& b);
Vector operator*(const Matrix& a, const Vector& b);
Matrix operator+(const Matrix& a, const Matrix& b);
Matrix operator*(double factor, const Matrix& a);
Matrix transposed(const Matrix& a);
Vector column(const Matrix& a, std::size_t index);
Matrix from_columns(const Vector& a, const Vector& b, const Vector& c);
// a times b transposed.
Matrix outer(const Vector& a, const Vector& b);
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

// Scaled, turned, then shifted.
struct Pose {
  Vector shift;
  Matrix turn = kIdentity;
  double scale = 1;
  Vector apply(const Vector& point) const;
  Vector undo(const Vector& point) const;
  friend bool operator==(const Pose&, const Pose&) = default;
};

// Carries a covariance matrix through a function of three values into three, by the function's slope at a point.
Matrix propagate(const std::function<Vector(const Vector&)>& function, const Vector& at, const Matrix& covariance);

// Axes of a symmetric matrix: the eigenvalues, largest first, and a rotation whose columns are their directions.
struct Axes {
  Vector values;
  Matrix directions = kIdentity;
};
Axes principal_axes(const Matrix& symmetric);

}  // namespace kestrine::simulator
