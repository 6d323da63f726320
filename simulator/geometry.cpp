#include "simulator/geometry.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

namespace kestrine::simulator {
namespace {

double component(const Vector& a, std::size_t index) {
  return index == 0 ? a.x : index == 1 ? a.y : a.z;
}

double determinant(const Matrix& a) {
  return a[0][0] * (a[1][1] * a[2][2] - a[1][2] * a[2][1]) - a[0][1] * (a[1][0] * a[2][2] - a[1][2] * a[2][0]) +
         a[0][2] * (a[1][0] * a[2][1] - a[1][1] * a[2][0]);
}

// The turn in the plane of two axes that makes the element between them vanish.
Matrix annihilating_turn(const Matrix& a, std::size_t p, std::size_t q) {
  const double angle = 0.5 * std::atan2(2 * a[p][q], a[q][q] - a[p][p]);
  Matrix turn = kIdentity;
  turn[p][p] = turn[q][q] = std::cos(angle);
  turn[p][q] = std::sin(angle);
  turn[q][p] = -std::sin(angle);
  return turn;
}

}  // namespace

Vector operator+(const Vector& a, const Vector& b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}

Vector operator-(const Vector& a, const Vector& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}

Vector operator*(double factor, const Vector& a) {
  return {factor * a.x, factor * a.y, factor * a.z};
}

double length(const Vector& a) {
  return std::hypot(a.x, a.y, a.z);
}

double dot(const Vector& a, const Vector& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

Vector cross(const Vector& a, const Vector& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

Matrix operator*(const Matrix& a, const Matrix& b) {
  Matrix product{};
  for (std::size_t i = 0; i < 3; ++i)
    for (std::size_t j = 0; j < 3; ++j)
      for (std::size_t k = 0; k < 3; ++k) product[i][j] += a[i][k] * b[k][j];
  return product;
}

Vector operator*(const Matrix& a, const Vector& b) {
  const auto row = [&](std::size_t i) { return a[i][0] * b.x + a[i][1] * b.y + a[i][2] * b.z; };
  return {row(0), row(1), row(2)};
}

Matrix transposed(const Matrix& a) {
  Matrix result{};
  for (std::size_t i = 0; i < 3; ++i)
    for (std::size_t j = 0; j < 3; ++j) result[i][j] = a[j][i];
  return result;
}

Matrix operator+(const Matrix& a, const Matrix& b) {
  Matrix sum{};
  for (std::size_t i = 0; i < 3; ++i)
    for (std::size_t j = 0; j < 3; ++j) sum[i][j] = a[i][j] + b[i][j];
  return sum;
}

Matrix operator*(double factor, const Matrix& a) {
  Matrix product{};
  for (std::size_t i = 0; i < 3; ++i)
    for (std::size_t j = 0; j < 3; ++j) product[i][j] = factor * a[i][j];
  return product;
}

Vector column(const Matrix& a, std::size_t index) {
  return {a[0][index], a[1][index], a[2][index]};
}

Matrix from_columns(const Vector& a, const Vector& b, const Vector& c) {
  return {{{a.x, b.x, c.x}, {a.y, b.y, c.y}, {a.z, b.z, c.z}}};
}

Matrix outer(const Vector& a, const Vector& b) {
  return from_columns(b.x * a, b.y * a, b.z * a);
}

Matrix rotation(const Vector& angles) {
  const double sx = std::sin(angles.x), cx = std::cos(angles.x);
  const double sy = std::sin(angles.y), cy = std::cos(angles.y);
  const double sz = std::sin(angles.z), cz = std::cos(angles.z);
  const Matrix about_x{{{1, 0, 0}, {0, cx, -sx}, {0, sx, cx}}};
  const Matrix about_y{{{cy, 0, sy}, {0, 1, 0}, {-sy, 0, cy}}};
  const Matrix about_z{{{cz, -sz, 0}, {sz, cz, 0}, {0, 0, 1}}};
  return about_z * about_y * about_x;
}

Vector rotation_angles(const Matrix& a) {
  // With Y at a right angle only X and Z together say something: X follows whatever was found for Z.
  const double z = std::atan2(a[1][0], a[0][0]);
  const double sz = std::sin(z), cz = std::cos(z);
  return {std::atan2(sz * a[0][2] - cz * a[1][2], cz * a[1][1] - sz * a[0][1]),
          std::atan2(-a[2][0], std::hypot(a[0][0], a[1][0])), z};
}

Polar to_polar(const Vector& point) {
  return {std::atan2(point.y, point.x), std::atan2(std::hypot(point.x, point.y), point.z), length(point)};
}

Vector to_vector(const Polar& polar) {
  const double level = polar.distance * std::sin(polar.vertical);
  return {level * std::cos(polar.horizontal), level * std::sin(polar.horizontal),
          polar.distance * std::cos(polar.vertical)};
}

double wrapped(double angle) {
  const double turned = std::remainder(angle, 2 * std::numbers::pi);
  return turned <= -std::numbers::pi ? turned + 2 * std::numbers::pi : turned;
}

Vector Pose::apply(const Vector& point) const {
  return shift + scale * (turn * point);
}

Vector Pose::undo(const Vector& point) const {
  return (1 / scale) * (transposed(turn) * (point - shift));
}

Matrix propagate(const std::function<Vector(const Vector&)>& function, const Vector& at, const Matrix& covariance) {
  // Micrometres and microradians: small against every distance measured, large against rounding.
  constexpr double kStep = 1e-6;
  Matrix slope{};
  for (std::size_t j = 0; j < 3; ++j) {
    const Vector step{j == 0 ? kStep : 0, j == 1 ? kStep : 0, j == 2 ? kStep : 0};
    const Vector change = (1 / (2 * kStep)) * (function(at + step) - function(at - step));
    for (std::size_t i = 0; i < 3; ++i) slope[i][j] = component(change, i);
  }
  return slope * covariance * transposed(slope);
}

Axes principal_axes(const Matrix& symmetric) {
  Matrix left = symmetric;
  Matrix directions = kIdentity;
  constexpr int kSweeps = 12;  // plane turns converge quadratically: a handful already reach rounding
  for (int sweep = 0; sweep < kSweeps; ++sweep) {
    for (const auto& [p, q] : {std::pair<std::size_t, std::size_t>{0, 1}, {0, 2}, {1, 2}}) {
      const Matrix turn = annihilating_turn(left, p, q);
      left = transposed(turn) * left * turn;
      directions = directions * turn;
    }
  }
  std::array<std::size_t, 3> order{0, 1, 2};
  std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) { return left[a][a] > left[b][b]; });
  Axes axes{{left[order[0]][order[0]], left[order[1]][order[1]], left[order[2]][order[2]]}, {}};
  for (std::size_t j = 0; j < 3; ++j) {
    const Vector direction = column(directions, order[j]);
    for (std::size_t i = 0; i < 3; ++i) axes.directions[i][j] = component(direction, i);
  }
  if (determinant(axes.directions) < 0) {
    for (auto& row : axes.directions) row[2] = -row[2];
  }
  return axes;
}

}  // namespace kestrine::simulator
