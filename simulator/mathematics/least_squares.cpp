#include "simulator/mathematics/least_squares.h"

#include <Eigen/QR>
#include <algorithm>
#include <utility>

namespace kestrine::simulator {
namespace {

// Of the longest column: what a column has left when the columns before it are taken away. Rounding leaves 1e-16.
constexpr double kVanishing = 1e-13;

using Rows = Eigen::Map<const Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>>;

}  // namespace

LeastSquares::LeastSquares(std::vector<bool> is_free) : unknowns_(static_cast<Eigen::Index>(is_free.size())) {
  for (int i = 0; i < unknowns_; ++i) {
    if (is_free[static_cast<std::size_t>(i)]) free_.push_back(i);
  }
}

void LeastSquares::add(const Eigen::VectorXd& coefficients, double value) {
  for (const int i : free_) rows_.push_back(coefficients[i]);
  rows_.push_back(value);
  ++equations_;
}

std::optional<LeastSquaresSolution> LeastSquares::solve() const {
  const auto count = static_cast<Eigen::Index>(free_.size());
  if (equations_ < count) return std::nullopt;
  LeastSquaresSolution solution{Eigen::VectorXd::Zero(unknowns_), Eigen::MatrixXd::Zero(unknowns_, unknowns_)};
  const Rows rows(rows_.data(), equations_, count + 1);
  solution.residual_squares = rows.rightCols(1).squaredNorm();
  if (count == 0) return solution;
  const Eigen::MatrixXd coefficients = rows.leftCols(count);
  const Eigen::HouseholderQR<Eigen::MatrixXd> qr(coefficients);
  const Eigen::MatrixXd upper = qr.matrixQR().topRows(count).triangularView<Eigen::Upper>();
  const double least = kVanishing * coefficients.colwise().norm().maxCoeff();
  if (!(upper.diagonal().cwiseAbs().minCoeff() > least)) return std::nullopt;
  const Eigen::VectorXd right = qr.householderQ().adjoint() * rows.rightCols(1);
  const auto triangle = upper.triangularView<Eigen::Upper>();
  const Eigen::MatrixXd inverse = triangle.solve(Eigen::MatrixXd::Identity(count, count));
  solution.unknowns(free_) = inverse * right.head(count);
  solution.cofactors(free_, free_) = inverse * inverse.transpose();
  solution.residual_squares = right.tail(equations_ - count).squaredNorm();
  return solution;
}

}  // namespace kestrine::simulator
