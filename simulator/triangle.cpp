#include "simulator/triangle.h"

#include <algorithm>
#include <cmath>

namespace kestrine::simulator {
namespace {

// Of the longest column: what a column has left when the columns before it are taken away. Rounding leaves 1e-16.
constexpr double kVanishing = 1e-13;

}  // namespace

void Triangle::add(const Unknowns& coefficients, double value) {
  ++equations_;
  std::array<double, kUnknowns + 1> row{};
  for (std::size_t i = 0; i < kUnknowns; ++i) row[i] = is_free_[i] ? coefficients[i] : 0;
  row[kUnknowns] = value;
  for (std::size_t i = 0; i < kUnknowns; ++i) {
    if (row[i] == 0) continue;
    const double radius = std::hypot(rows_[i][i], row[i]);
    const double cosine = rows_[i][i] / radius;
    const double sine = row[i] / radius;
    for (std::size_t j = i; j <= kUnknowns; ++j) {
      const double above = rows_[i][j];
      rows_[i][j] = cosine * above + sine * row[j];
      row[j] = cosine * row[j] - sine * above;
    }
  }
  left_over_ += row[kUnknowns] * row[kUnknowns];
}

bool Triangle::is_determined(std::size_t column) const {
  double longest = 0;
  for (std::size_t j = 0; j < kUnknowns; ++j) {
    double squares = 0;
    for (std::size_t i = 0; i <= j; ++i) squares += rows_[i][j] * rows_[i][j];
    longest = std::max(longest, std::sqrt(squares));
  }
  return rows_[column][column] > kVanishing * longest;
}

Unknowns Triangle::solve(const Unknowns& right) const {
  Unknowns solved{};
  for (std::size_t i = kUnknowns; i-- > 0;) {
    if (!is_free_[i]) continue;
    double rest = right[i];
    for (std::size_t j = i + 1; j < kUnknowns; ++j) rest -= rows_[i][j] * solved[j];
    solved[i] = rest / rows_[i][i];
  }
  return solved;
}

std::optional<Unknowns> Triangle::solution() const {
  Unknowns right{};
  for (std::size_t i = 0; i < kUnknowns; ++i) {
    if (is_free_[i] && !is_determined(i)) return std::nullopt;
    right[i] = rows_[i][kUnknowns];
  }
  return solve(right);
}

std::array<Unknowns, kUnknowns> Triangle::cofactors() const {
  std::array<Unknowns, kUnknowns> sum{};
  for (std::size_t k = 0; k < kUnknowns; ++k) {
    if (!is_free_[k]) continue;
    Unknowns unit{};
    unit[k] = 1;
    const Unknowns column = solve(unit);
    for (std::size_t i = 0; i < kUnknowns; ++i)
      for (std::size_t j = 0; j < kUnknowns; ++j) sum[i][j] += column[i] * column[j];
  }
  return sum;
}

}  // namespace kestrine::simulator
