// Coordinate systems, units and the way back, and the fit of one list of points onto another.
#include <Eigen/LU>
#include <cmath>
#include <numbers>
#include <random>

#include "bench.h"
#include "simulator/mathematics/transformation_fit.h"

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

using Computations = BenchTest<>;

TEST_F(Computations, GiveAnErrorEllipsoidsAxes) {
  const auto ellipsoid = answer<GetErrorEllipsoidRT>(
      build_GetErrorEllipsoid(1, 2, 3, 2, 2, 1, 1, 0, 0));  // 45 degrees in the plane of X and Y
  expect_near(vector(ellipsoid.dStdDevX, ellipsoid.dStdDevY, ellipsoid.dStdDevZ), {std::sqrt(5), std::sqrt(3), 1});
  EXPECT_NEAR(std::abs(std::remainder(ellipsoid.dRotationAngleZ, kPi)), kPi / 4, 1e-9);
}

const std::vector<Vector> kPlaces{{0, 0, 0}, {2, 0.1, 0}, {0.3, 1.5, 0.2}, {1, 1, 1}, {-1, 0.5, 0.7}};

std::vector<KnownPoint> at(const std::vector<Vector>& places, double deviation = 0) {
  std::vector<KnownPoint> points;
  for (const Vector& each : places) points.push_back({each, deviation * deviation * Matrix::Identity(), {}});
  return points;
}

std::vector<Vector> moved(const std::vector<Vector>& places, const Pose& pose) {
  std::vector<Vector> result;
  for (const Vector& each : places) result.push_back(pose.apply(each));
  return result;
}

Parameters free_but_scale(double scale = 1) {
  Parameters given{};
  given[6] = {scale, 0};
  return given;
}

void expect_pose(const TransformationFit& fit, const Pose& expected, double tolerance = 1e-9) {
  const Pose pose = fit.pose();
  expect_near(pose.shift, expected.shift, tolerance);
  EXPECT_NEAR(pose.scale, expected.scale, tolerance);
  expect_near(pose.rotation, expected.rotation, tolerance);
}

// The fit, which there must be.
TransformationFit fitted(const std::vector<KnownPoint>& nominal, const std::vector<KnownPoint>& actual,
                         const Parameters& given) {
  return fit_transformation(nominal, actual, given).value();
}

TEST(BestFits, FindATransformationAgainWhateverItsAngles) {
  const std::vector<Vector> three(kPlaces.begin(), kPlaces.begin() + 3);
  const Vector turns[]{{},        {0.3, -0.7, 2.1}, {kPi, 0, 0}, {0, kPi / 2, 0}, {0.4, -kPi / 2, 1}, {-3, 1.5, kPi},
                       {2, 3, -2}};
  for (const Vector& angles : turns) {
    for (const auto& places : {three, kPlaces}) {
      const Pose pose{{5, -6, 7}, rotation(angles), 1.25};
      const auto fit = fitted(at(moved(places, pose)), at(places), Parameters{});
      expect_pose(fit, pose);
      EXPECT_LT(fit.max_deviation, 1e-9);
      ASSERT_EQ(fit.points.size(), places.size());
      expect_near(fit.points[2].actual.place, pose.apply(places[2]));
      const bool upright = std::abs(std::cos(angles.y())) < 1e-9;  // angles of one axis have no deviations
      EXPECT_EQ(fit.parameters[3].deviation == kUnknown, upright);
    }
  }
}

TEST(BestFits, WorkFarFromTheOrigin) {
  const Pose pose{{-2e6, 1e6, 3e6}, rotation({0.3, -0.7, 2.1}), 1};
  const auto places = moved(kPlaces, {{1e6, -1e6, 2e6}});
  // A few of the steps in which doubles go there.
  EXPECT_LT(fitted(at(moved(places, pose), 1e-5), at(places, 1e-5), free_but_scale()).max_deviation, 1e-8);
}

TEST(BestFits, RefuseWhatDeterminesNothing) {
  const auto fits = [](std::vector<Vector> nominal, std::vector<Vector> actual) {
    return fit_transformation(at(nominal), at(actual), free_but_scale()).has_value();
  };
  const std::vector<Vector> line{{0, 0, 0}, {1, 1e-5, 2}, {2, 0, 4}, {3, 0, 6}};
  std::vector<Vector> odd = kPlaces;
  odd[1].y() = std::nan("");
  EXPECT_TRUE(fits(kPlaces, kPlaces));
  const std::vector<Vector> none, two(kPlaces.begin(), kPlaces.begin() + 2), same(3, kPlaces[0]);
  for (const auto& places : {none, two, line, same, odd}) EXPECT_FALSE(fits(places, places)) << places.size();
  for (const auto& places : {two, odd}) EXPECT_FALSE(fits(places, kPlaces) || fits(kPlaces, places)) << places.size();
  for (const double scale : {0.0, -1.0})
    EXPECT_FALSE(fit_transformation(at(kPlaces), at(kPlaces), free_but_scale(scale)));
}

TEST(BestFits, TakePointsOnALineWhereTheRotationIsGiven) {
  const std::vector<Vector> line{{0, 0, 0}, {1, 0, 2}, {2, 0, 4}};
  Parameters given{};
  for (std::size_t i = 3; i < 6; ++i) given[i] = {0, 0};
  const Pose pose{{1, 2, 3}, Matrix::Identity(), 1.1};
  expect_pose(fitted(at(moved(line, pose)), at(line), given), pose);
}

TEST(BestFits, HoldWhatIsFixedAndWeighWhatIsObserved) {
  const Pose pose{{5, -6, 7}, rotation({0.3, -0.7, 2.1}), 1.001};
  const auto nominal = at(moved(kPlaces, pose), 1e-5);
  const auto actual = at(kPlaces, 1e-5);
  Parameters given = free_but_scale();
  const auto unscaled = fitted(nominal, actual, given);
  EXPECT_EQ(unscaled.parameters[6].value, 1);
  EXPECT_EQ(unscaled.parameters[6].deviation, 0);
  EXPECT_GT(unscaled.rms, 5e-4);
  EXPECT_GT(unscaled.variance_factor, 100);
  // The same turn by its other triple of angles, one of them fixed, another near.
  given[6] = {1, kUnknown};
  given[3] = {0.3 - kPi, 0};
  given[5] = {2.1 + kPi, 0.01};  // whole turns are none
  const auto other = fitted(nominal, actual, given);
  expect_pose(other, pose, 1e-6);
  EXPECT_EQ(other.parameters[3].value, given[3].value);
  EXPECT_NEAR(std::remainder(other.parameters[5].value - given[5].value, 2 * kPi), 0, 1e-6);
  // The more an observation is worth, the nearer the fit comes to it.
  const double own = fit_transformation(nominal, actual, free_but_scale(1.001))->parameters[0].value;
  const auto pulled = [&](double deviation) {
    Parameters observed = free_but_scale(1.001);
    observed[0] = {own + 1e-3, deviation};
    return fit_transformation(nominal, actual, observed)->parameters[0].value - own;
  };
  EXPECT_NEAR(pulled(1e-2), 0, 1e-6);
  EXPECT_NEAR(pulled(1e-5), 5e-4, 3e-4);
  EXPECT_NEAR(pulled(1e-8), 1e-3, 1e-6);
}

TEST(BestFits, FindTheRestOfTheAnglesToAnyThatIsGiven) {
  std::mt19937_64 engine(2);
  std::uniform_real_distribution<double> any(-kPi, kPi);
  for (int i = 0; i < 60; ++i) {
    const std::array angles{any(engine), any(engine), any(engine)};
    const Pose pose{{1, 2, 3}, rotation({angles[0], angles[1], angles[2]}), 1};
    Parameters given = free_but_scale();
    const auto index = static_cast<std::size_t>(i % 3);
    given[3 + index] = {angles[index], 0};
    const auto fit = fitted(at(moved(kPlaces, pose)), at(kPlaces), given);
    expect_pose(fit, pose, 1e-8);
    EXPECT_EQ(fit.parameters[3 + index].value, angles[index]);
  }
}

TEST(BestFits, JudgeTheDeviationsGivenByTheResiduals) {
  std::mt19937_64 engine(1);
  std::normal_distribution<double> normal;
  constexpr double kNominal = 3e-5, kActual = 4e-5;
  const Pose pose{{1, 2, 3}, rotation({0.1, 0.2, 0.3}), 0.5};
  const double spread = std::hypot(kNominal, 0.5 * kActual);
  std::vector<Vector> places, noisy;
  for (int i = 0; i < 200; ++i) {
    places.push_back({2 * normal(engine), 2 * normal(engine), normal(engine)});
    noisy.push_back(places.back() + kActual * Vector{normal(engine), normal(engine), normal(engine)});
  }
  std::vector<Vector> nominal = moved(places, pose);
  for (Vector& each : nominal) each = each + kNominal * Vector{normal(engine), normal(engine), normal(engine)};
  const auto fit = fitted(at(nominal, kNominal), at(noisy, kActual), Parameters{});
  EXPECT_NEAR(fit.variance_factor, 1, 0.15);
  EXPECT_NEAR(fit.rms, spread * std::sqrt(3), 0.1 * spread);
  const double of_shift = spread / std::sqrt(200);
  EXPECT_NEAR(fit.parameters[0].deviation, of_shift, 0.2 * of_shift);
  const double of_scale = spread / std::sqrt(200 * 9);  // nine square metres, the points' own variance
  EXPECT_NEAR(fit.parameters[6].deviation, of_scale, 0.2 * of_scale);
  Vector sum;
  for (const FittedPoint& each : fit.points) sum += each.residual;
  expect_near(sum, {});  // equal weights
  // Whoever gives too small deviations gets the parameters' true ones all the same.
  const auto boasting = fitted(at(nominal, spread / 5), at(noisy), Parameters{});
  EXPECT_NEAR(boasting.parameters[0].deviation, of_shift, 0.2 * of_shift);
}

TEST(BestFits, AskNothingOfCoordinatesThatAreUnknown) {
  const Pose pose{{5, -6, 7}, rotation({0.3, -0.7, 2.1}), 1};
  auto nominal = at(moved(kPlaces, pose), 1e-5);
  auto actual = at(kPlaces, 1e-5);
  nominal[1].place.z() += 3;
  nominal[1].unknown = {{0, 0, 1}};
  for (const std::size_t i : {3u, 4u}) {
    actual[i].place.x() -= 20;
    actual[i].unknown = {{1, 0, 0}};
  }
  const auto fit = fitted(nominal, actual, free_but_scale());
  expect_pose(fit, pose);
  EXPECT_LT(fit.max_deviation, 1e-9);
  // Nor much of those that are bad, given in the system of each list.
  actual[3].unknown = actual[4].unknown = {};
  actual[3].covariance(0, 0) = actual[4].covariance(0, 0) = 1e12;
  expect_pose(fitted(nominal, actual, free_but_scale()), pose, 1e-8);
  for (KnownPoint& each : actual) each.unknown = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  EXPECT_FALSE(fit_transformation(nominal, actual, free_but_scale()));
}

}  // namespace
}  // namespace kestrine::simulator
