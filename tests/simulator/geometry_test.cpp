// Coordinate systems, units and the way back.
#include <cmath>
#include <numbers>

#include "bench.h"
#include "simulator/uncertainty.h"

namespace kestrine::simulator {
namespace {

constexpr double kPi = std::numbers::pi;

void expect_near(const Vector& actual, const Vector& expected, double tolerance = 1e-9) {
  EXPECT_NEAR(actual.x, expected.x, tolerance);
  EXPECT_NEAR(actual.y, expected.y, tolerance);
  EXPECT_NEAR(actual.z, expected.z, tolerance);
}

TEST(Frames, TellOnePlaceInEveryCoordinateSystem) {
  const Vector place{3, 4, 12};
  const double horizontal = std::atan2(4, 3);
  const double zenith = std::acos(12.0 / 13);
  const std::pair<VL_CoordinateSystemType, Vector> told[]{
      {VL_CS_RHR, {3, 4, 12}},
      {VL_CS_LHRX, {-3, 4, 12}},
      {VL_CS_LHRY, {3, -4, 12}},
      {VL_CS_LHRZ, {3, 4, -12}},
      {VL_CS_CCW, {-horizontal, 5, 12}},
      {VL_CS_CCC, {horizontal, 5, 12}},
      {VL_CS_SCW, {-horizontal, zenith, 13}},
      {VL_CS_SCC, {horizontal, zenith, 13}},
  };
  for (const auto& [type, values] : told) {
    SCOPED_TRACE(type);
    Frame frame;
    frame.type = type;
    expect_near(frame.to_outside(place), values);
    expect_near(frame.to_inside(values), place);
    frame.length = VL_LU_Inch;
    frame.angle = VL_AU_Degree;
    frame.orientation = {{0.1, -0.2, 0.3}, rotation({0.1, 0.2, 0.3}), 1};
    frame.transformation = {{5, 6, 7}, rotation({-1, 0.5, 2}), 1.01};
    expect_near(frame.to_inside(frame.to_outside(place)), place);
  }
}

TEST(Frames, ConvertLengthsAndAnglesIntoTheUnitsSet) {
  const std::pair<VL_LengthUnit, double> lengths[]{{VL_LU_Meter, 1},          {VL_LU_Millimeter, 1000},
                                                   {VL_LU_Micron, 1e6},       {VL_LU_Foot, 3.280839895},
                                                   {VL_LU_Yard, 1.093613298}, {VL_LU_Inch, 39.37007874}};
  for (const auto& [unit, factor] : lengths) {
    Frame frame;
    frame.length = unit;
    EXPECT_NEAR(frame.to_outside({1, 0, 0}).x / factor, 1, 1e-9);
  }
  Frame frame;
  frame.type = VL_CS_SCC;
  frame.angle = VL_AU_Gon;
  expect_near(frame.to_outside({0, 1, 0}), {100, 100, 1});
}

TEST(Frames, ApplyTheStationFirstAndThenTheTransformation) {
  Frame frame;
  frame.orientation = {{1, 0, 0}, rotation({0, 0, kPi / 2}), 1};
  frame.transformation = {{0, 0, 10}, kIdentity, 2};
  expect_near(frame.to_outside({1, 0, 0}), {2, 2, 10});
}

TEST(Frames, CarryACovarianceAcrossTheJumpOfTheAngle) {
  Frame frame;
  frame.type = VL_CS_SCC;
  const Vector beside_the_jump{-2, 0, 0};
  Matrix covariance{};
  covariance[0][0] = 1e-10;
  covariance[1][1] = 4e-10;
  covariance[2][2] = 9e-10;
  const Uncertainty told = uncertainty(frame, beside_the_jump, covariance);
  expect_near(told.deviations, {1e-5, 1.5e-5, 1e-5}, 1e-11);
  EXPECT_NEAR(told.total, std::sqrt(14e-10), 1e-12);
}

TEST(Geometry, TurnsAngleTriplesIntoRotationsAndBack) {
  const Vector angles{0.3, -0.7, 2.1};
  expect_near(rotation_angles(rotation(angles)), angles);
  for (const double upright : {kPi / 2, -kPi / 2}) {
    const Matrix turn = rotation({0.3, upright, 2.1});
    expect_near(rotation(rotation_angles(turn)) * Vector{1, 2, 3}, turn * Vector{1, 2, 3});
  }
  expect_near(rotation({0, 0, kPi / 2}) * Vector{1, 0, 0}, {0, 1, 0});
  EXPECT_NEAR(wrapped(1.5 * kPi), -0.5 * kPi, 1e-12);
  EXPECT_NEAR(wrapped(-kPi), kPi, 1e-12);
}

TEST(Geometry, FindsTheAxesOfAnEllipsoid) {
  const Matrix turn = rotation({0.4, 0.1, -1});
  Matrix scaled{};
  scaled[0][0] = 9;
  scaled[1][1] = 4;
  scaled[2][2] = 1;
  const Axes axes = principal_axes(turn * scaled * transposed(turn));
  expect_near(axes.values, {9, 4, 1});
  for (std::size_t i = 0; i < 3; ++i) {
    const double along =
        axes.directions[0][i] * turn[0][i] + axes.directions[1][i] * turn[1][i] + axes.directions[2][i] * turn[2][i];
    EXPECT_NEAR(std::abs(along), 1, 1e-9);
  }
}

TEST(Computations, GoFromTheBaseSystemToTheCurrentOneAndBack) {
  Bench bench;
  bench.ask(protocol::build_SetUnits(VL_LU_Millimeter, VL_AU_Degree, VL_TU_Celsius, VL_PU_Mbar, VL_HU_RH));
  bench.ask(protocol::build_SetCoordinateSystemType(VL_CS_SCW));
  SystemSettingsDataT settings;
  settings.bApplyTransformationParams = 1;
  bench.ask(request_of(VL_C_SetSystemSettings, settings));
  bench.ask(protocol::build_SetTransformationParams(0, 0, 500, 0, 0, 0, 1));
  const auto current = bench.answer<ConvertDisplayCoordinatesRT>(
      protocol::build_ConvertDisplayCoordinates(VL_DCC_BaseToCurrent, 0, 1000, -500));
  expect_near({current.dVal1, current.dVal2, current.dVal3}, {-90, 90, 1000});
  const auto base = bench.answer<ConvertDisplayCoordinatesRT>(
      protocol::build_ConvertDisplayCoordinates(VL_DCC_CurrentToBase, -90, 90, 1000));
  expect_near({base.dVal1, base.dVal2, base.dVal3}, {0, 1000, -500});
}

TEST(Computations, GiveAnErrorEllipsoidsAxes) {
  Bench bench;
  const auto ellipsoid = bench.answer<GetErrorEllipsoidRT>(
      protocol::build_GetErrorEllipsoid(1, 2, 3, 2, 2, 1, 1, 0, 0));  // 45 degrees in the plane of X and Y
  expect_near({ellipsoid.dStdDevX, ellipsoid.dStdDevY, ellipsoid.dStdDevZ}, {std::sqrt(5), std::sqrt(3), 1});
  EXPECT_NEAR(std::abs(std::remainder(ellipsoid.dRotationAngleZ, kPi)), kPi / 4, 1e-9);
  EXPECT_EQ(bench.status(protocol::build_GetErrorEllipsoid(0, 0, 0, 1, 1, 1, 5, 0, 0)), VL_RS_InvalidInputData);
}

}  // namespace
}  // namespace kestrine::simulator
