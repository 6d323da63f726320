// Linear equations with more of them than unknowns, solved by a QR decomposition. No normal equations are formed,
// which would lose half of the digits where points lie far from the origin.
#pragma once

#include <Eigen/Core>
#include <optional>
#include <vector>

namespace kestrine::simulator {

// Of unknowns that are not free the numbers are zero.
struct LeastSquaresSolution {
  Eigen::VectorXd unknowns;
  Eigen::MatrixXd cofactors;    // the inverse of the normal equations' matrix
  double residual_squares = 0;  // the sum of the squares that the solution leaves
};

class LeastSquares {
 public:
  explicit LeastSquares(std::vector<bool> is_free);

  // coefficients * unknowns = value. What is not free takes no part.
  void add(const Eigen::VectorXd& coefficients, double value);
  int equations() const { return equations_; }
  // None where the equations leave something undetermined.
  std::optional<LeastSquaresSolution> solve() const;

 private:
  Eigen::Index unknowns_;
  std::vector<int> free_;
  std::vector<double> rows_;  // one after the other, each with its value last
  int equations_ = 0;
};

}  // namespace kestrine::simulator
