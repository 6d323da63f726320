// Coordinate systems, units and the way back.
#include <Eigen/LU>
#include <cmath>
#include <numbers>

#include "bench.h"

namespace kestrine::simulator {
namespace {

constexpr double kPi = std::numbers::pi;

TEST(Frames, GiveOnePlaceInEveryCoordinateSystem) {
  const Vector place{3, 4, 12};
  const double horizontal = std::atan2(4, 3);
  const double zenith = std::acos(12.0 / 13);
  const std::pair<VL_CoordinateSystemType, Vector> expected[]{
      {VL_CS_RHR, {3, 4, 12}},
      {VL_CS_LHRX, {-3, 4, 12}},
      {VL_CS_LHRY, {3, -4, 12}},
      {VL_CS_LHRZ, {3, 4, -12}},
      {VL_CS_CCW, {-horizontal, 5, 12}},
      {VL_CS_CCC, {horizontal, 5, 12}},
      {VL_CS_SCW, {-horizontal, zenith, 13}},
      {VL_CS_SCC, {horizontal, zenith, 13}},
  };
  for (const auto& [type, values] : expected) {
    SCOPED_TRACE(type);
    Frame frame;
    frame.type = type;
    expect_near(frame.to_values(place), values);
    expect_near(frame.to_place(values), place);
    frame.length = VL_LU_Inch;
    frame.angle = VL_AU_Degree;
    frame.orientation = {{0.1, -0.2, 0.3}, rotation({0.1, 0.2, 0.3}), 1};
    frame.transformation = {{5, 6, 7}, rotation({-1, 0.5, 2}), 1.01};
    expect_near(frame.to_place(frame.to_values(place)), place);
  }
}

TEST(Frames, ConvertLengthsAndAnglesIntoTheUnitsSet) {
  const std::pair<VL_LengthUnit, double> lengths[]{{VL_LU_Meter, 1},          {VL_LU_Millimeter, 1000},
                                                   {VL_LU_Micron, 1e6},       {VL_LU_Foot, 3.280839895},
                                                   {VL_LU_Yard, 1.093613298}, {VL_LU_Inch, 39.37007874}};
  for (const auto& [unit, factor] : lengths) {
    Frame frame;
    frame.length = unit;
    EXPECT_NEAR(frame.to_values({1, 0, 0}).x() / factor, 1, 1e-9);
  }
  Frame frame;
  frame.type = VL_CS_SCC;
  frame.angle = VL_AU_Gon;
  expect_near(frame.to_values({0, 1, 0}), {100, 100, 1});
}

TEST(Frames, ApplyTheStationFirstAndThenTheTransformation) {
  Frame frame;
  frame.orientation = {{1, 0, 0}, rotation({0, 0, kPi / 2}), 1};
  frame.transformation = {{0, 0, 10}, Matrix::Identity(), 2};
  expect_near(frame.to_values({1, 0, 0}), {2, 2, 10});
}

TEST(Frames, CarryACovarianceAcrossTheJumpOfTheAngle) {
  Frame frame;
  frame.type = VL_CS_SCC;
  const Vector beside_the_jump{-2, 0, 0};
  const Matrix covariance = Vector{1e-10, 4e-10, 9e-10}.asDiagonal();
  const Uncertainty spread = frame.uncertainty(beside_the_jump, covariance);
  expect_near(spread.deviations, {1e-5, 1.5e-5, 1e-5}, 1e-11);
  EXPECT_NEAR(spread.total, std::sqrt(14e-10), 1e-12);
}

TEST(Geometry, TurnsAngleTriplesIntoRotationsAndBack) {
  const Vector angles{0.3, -0.7, 2.1};
  expect_near(rotation_angles(rotation(angles)), angles);
  for (const double upright : {kPi / 2, -kPi / 2}) {
    const Matrix turn = rotation({0.3, upright, 2.1});
    expect_near(rotation(rotation_angles(turn)), turn);
  }
  expect_near(rotation({0, 0, kPi / 2}) * Vector{1, 0, 0}, {0, 1, 0});
  EXPECT_NEAR(wrapped(1.5 * kPi), -0.5 * kPi, 1e-12);
  EXPECT_NEAR(wrapped(-kPi), kPi, 1e-12);
}

TEST(Geometry, FindsTheAxesOfAnEllipsoid) {
  const Matrix turn = rotation({0.4, 0.1, -1});
  const Axes axes = principal_axes(turn * Vector{9, 4, 1}.asDiagonal() * turn.transpose());
  expect_near(axes.values, {9, 4, 1});
  EXPECT_NEAR(axes.directions.determinant(), 1, 1e-9);
  expect_near((axes.directions.transpose() * turn).diagonal().cwiseAbs(), {1, 1, 1});
}

using Computations = BenchTest<>;

TEST_F(Computations, GiveAnErrorEllipsoidsAxes) {
  const auto ellipsoid = answer<GetErrorEllipsoidRT>(
      build_GetErrorEllipsoid(1, 2, 3, 2, 2, 1, 1, 0, 0));  // 45 degrees in the plane of X and Y
  expect_near(vector(ellipsoid.dStdDevX, ellipsoid.dStdDevY, ellipsoid.dStdDevZ), {std::sqrt(5), std::sqrt(3), 1});
  EXPECT_NEAR(std::abs(std::remainder(ellipsoid.dRotationAngleZ, kPi)), kPi / 4, 1e-9);
}

}  // namespace
}  // namespace kestrine::simulator
