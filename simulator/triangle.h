// Least squares in up to seven unknowns: equations are folded one by one into a triangle, by turns in planes. No
// normal equations are formed, which would lose half of the digits where points lie far from the origin.
#pragma once

#include <array>
#include <optional>

namespace kestrine::simulator {

inline constexpr std::size_t kUnknowns = 7;
using Unknowns = std::array<double, kUnknowns>;

class Triangle {
 public:
  explicit Triangle(const std::array<bool, kUnknowns>& is_free) : is_free_(is_free) {}

  // coefficients * unknowns = value. What is not free takes no part.
  void add(const Unknowns& coefficients, double value);
  // None where the equations leave something undetermined; zero for what is not free.
  std::optional<Unknowns> solution() const;
  // The inverse of the normal equations' matrix, for the unknowns that are free.
  std::array<Unknowns, kUnknowns> cofactors() const;
  // The sum of the squares that the solution leaves.
  double left_over() const { return left_over_; }
  int equations() const { return equations_; }

 private:
  bool is_determined(std::size_t column) const;
  Unknowns solve(const Unknowns& right) const;

  std::array<bool, kUnknowns> is_free_;
  std::array<std::array<double, kUnknowns + 1>, kUnknowns> rows_{};  // the right-hand side comes last
  double left_over_ = 0;
  int equations_ = 0;
};

}  // namespace kestrine::simulator
