// Nominal and actual points over the wire, and what becomes of them.
#include <numbers>

#include "bench.h"

namespace kestrine::simulator {
namespace {

const std::vector<Vector> kNominal{{1000, 0, 0}, {0, 2000, 0}, {0, 0, 1500}, {700, 800, 900}};

protocol::Request nominal(const Vector& p, double s = 0.01) {
  return build_AddTransformationNominalPoint(p.x(), p.y(), p.z(), s, s, s, 0, 0, 0);
}
protocol::Request actual(const Vector& p, double s3 = 0.01) {
  return build_AddTransformationActualPoint(p.x(), p.y(), p.z(), 0.01, 0.01, s3, 0, 0, 0);
}

struct PointLists : Bench {
  explicit PointLists(VL_CoordinateSystemType type = VL_CS_RHR) {
    set_units(VL_LU_Millimeter);
    set_up({build_SetCoordinateSystemType(type)});
  }
  CallTransformationRT call() { return answer<CallTransformationRT>(build_CallTransformation()); }
  Vector measured_at(const Vector& target) {
    tracker.state().target = tracker.frame().to_place(target);
    return values_of(measured());
  }
};

using Transformations = BenchTest<PointLists>;

TEST_F(Transformations, BringMeasuredPointsOntoTheNominalOnes) {
  for (const auto type : {VL_CS_RHR, VL_CS_LHRY, VL_CS_SCW, VL_CS_CCC}) {
    SCOPED_TRACE(type);
    PointLists bench(type);
    const Pose part{{3, -1, 0.5}, rotation({0.2, -0.1, 1}), 1};
    const Frame frame = bench.tracker.frame();
    Vector last;
    for (const Vector& place : {Vector{2, 0, 0}, {2.5, 1, 0.2}, {1.8, -1, 0.7}, {3, 0.3, -0.6}}) {
      last = frame.to_values(part.apply(place));
      bench.set_up({actual(bench.measured_at(frame.to_values(place))), nominal(last)});
    }
    const auto fit = bench.call();
    EXPECT_LT(double{fit.dMaxDev}, 0.1);  // millimetres
    EXPECT_GT(double{fit.dRMS}, 1e-4);
    bench.set_up({build_SetTransformationParams(fit.dTransVal1, fit.dTransVal2, fit.dTransVal3, fit.dRotVal1,
                                                fit.dRotVal2, fit.dRotVal3, fit.dScale),
                  set_system_settings({.bApplyTransformationParams = 1})});
    expect_near(frame.to_place(bench.measured_at(last)), frame.to_place(last), 1.15e-4);
  }
}

TEST_F(Transformations, ShowEveryPointWithItsResidualInTheUnitsSet) {
  for (const Vector& p : kNominal) set_up({nominal(p), actual({p.y(), -p.x(), p.z() + (p == kNominal[3] ? 0.4 : 0)})});
  const auto fit = call();
  EXPECT_NEAR(fit.dRotVal3, 90, 0.05);
  EXPECT_TRUE(fit.dScale == 1 && fit.dScaleStd == 0) << "fixed unless asked for";
  const auto packets = ask(build_GetTransformedPoints());
  ASSERT_EQ(packets.size(), kNominal.size());
  Vector sum;
  double squares = 0;
  for (std::size_t i = 0; i < packets.size(); ++i) {
    const auto item = read_as<GetTransformedPointsRT>(packets[i].data());
    EXPECT_EQ(item.iTotalPoints, 4);
    const Vector residual = vector(item.dResidualVal1, item.dResidualVal2, item.dResidualVal3);
    expect_near(values_of(item) - residual, kNominal[i], 1e-6);
    expect_near(vector(item.dStd1, item.dStdTotal, 0), {0.01, 0.01 * std::sqrt(3), 0}, 1e-6);
    sum += residual;
    squares += residual.squaredNorm();
  }
  expect_near(sum, {}, 1e-6);
  EXPECT_NEAR(std::sqrt(squares / 4), fit.dRMS, 1e-9);
  set_units(VL_LU_Inch);
  expect_near(25.4 * values_of(answer<GetTransformedPointsRT>(build_GetTransformedPoints())),
              values_of(first<GetTransformedPointsRT>(packets)));
}

TEST_F(Transformations, AreAskedForAsTheInputParametersSay) {
  for (const Vector& p : kNominal) set_up({nominal(1.5 * p + Vector{100, 200, 300}), actual(p)});
  // The shift along X and the scale that are found, X being given as 99.
  const auto found = [&](VL_TransResultType type, double shift_deviation) {
    set_up({build_SetTransformationInputParams(type, 99, 0, 0, 0, 0, 0, 1, shift_deviation, kUnknown, kApproximate,
                                               kUnknown, kUnknown, kUnknown, kUnknown)});
    const auto fit = call();
    return vector(fit.dTransVal1 / 1000, fit.dScale, 0);
  };
  expect_near(found(VL_TR_AsTransformation, kUnknown), {0.1, 1.5, 0});
  EXPECT_NEAR(found(VL_TR_AsTransformation, 0).x(), 0.099, 1e-12);
  EXPECT_EQ(found(VL_TR_AsOrientation, kUnknown).y(), 1);  // a station has no scale
  // Marks are the same in every unit.
  set_units(VL_LU_Inch, VL_AU_Gon);
  const auto input = answer<GetTransformationInputParamsRT>(build_GetTransformationInputParams()).TransformationData;
  EXPECT_EQ(double{input.dTransStdVal1}, kUnknown);
  EXPECT_EQ(double{input.dTransStdVal3}, kApproximate);
  EXPECT_NEAR(input.dTransVal1 * 25.4, 99, 1e-9);
}

TEST_F(Transformations, TakeDeviationsInTheCoordinatesOfThePoints) {
  // At one metre straight along Y: 0.1 degrees across, 2 mm up and down, 0.3 mm along, or unknown.
  set_up({build_SetCoordinateSystemType(VL_CS_SCC),
          build_AddTransformationActualPoint(90, 90, 1000, 0.1, 0.2, 0.3, 0, 0, 0),
          build_AddTransformationActualPoint(90, 90, 1000, 0.1, 0.2, kUnknown, 0, 0, 0)});
  const auto& points = tracker.state().actual_points;
  const double degree = std::numbers::pi / 180;
  expect_near(points[0].covariance.diagonal().cwiseSqrt(), {0.1 * degree, 3e-4, 0.2 * degree});
  ASSERT_EQ(points[1].unknown.size(), 1u);
  EXPECT_NEAR(points[1].unknown[0].y(), 1, 1e-9);
}

TEST_F(Transformations, FailHonestly) {
  const auto compute = build_CallTransformation(), show = build_GetTransformedPoints();
  EXPECT_EQ(status(compute), VL_RS_InvalidInputData);
  for (std::size_t i = 0; i < 4; ++i) {
    set_up({nominal(kNominal[i]), actual(kNominal[i])});
    EXPECT_EQ(status(compute), i < 2 ? VL_RS_InvalidInputData : VL_RS_AllOK) << i;
  }
  // A point more, and the result shown is of other lists than these.
  set_up({show, actual({1, 2, 3})});
  EXPECT_EQ(statuses({show, compute}), (Codes{VL_RS_UsageConflict, VL_RS_InvalidInputData}));
  set_up({build_ClearTransformationActualPointList(), build_ClearTransformationNominalPointList()});
  const auto none = answer<GetTransformedPointsRT>(show);
  EXPECT_EQ((Codes{none.packetInfo.status, none.iTotalPoints}), (Codes{VL_RS_UsageConflict, 0}));

  EXPECT_EQ(
      statuses({nominal({std::nan(""), 0, 0}), nominal({1, 0, 0}, -1),
                build_AddTransformationActualPoint(1, 2, 3, 1, 1, 1, 5, 0, 0),
                build_SetTransformationInputParams(VL_TR_AsTransformation, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, -1)}),
      (Codes{VL_RS_WrongParameter1, VL_RS_Parameter4OutOfRangeNOK, VL_RS_InvalidInputData, VL_RS_WrongParameter15}));
  for (int i = 0; i < 1000; ++i) set_up({nominal({1, 2, 3})});
  EXPECT_EQ(status(nominal({1, 2, 3})), VL_RS_MaxEntriesExceeded);
}

TEST_F(Transformations, OfDisplayedCoordinatesGoBothWays) {
  set_up({build_SetCoordinateSystemType(VL_CS_SCW), set_system_settings({.bApplyTransformationParams = 1}),
          build_SetTransformationParams(0, 0, 500, 0, 0, 0, 1)});
  const auto converted = [&](VL_DisplayCoordinateConversionType way, const Vector& from) {
    return values_of(
        answer<ConvertDisplayCoordinatesRT>(build_ConvertDisplayCoordinates(way, from.x(), from.y(), from.z())));
  };
  expect_near(converted(VL_DCC_BaseToCurrent, {0, 1000, -500}), {-90, 90, 1000});
  expect_near(converted(VL_DCC_CurrentToBase, {-90, 90, 1000}), {0, 1000, -500});
}

}  // namespace
}  // namespace kestrine::simulator
