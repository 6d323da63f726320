// Nominal and actual points, and the transformation that brings the actual ones onto the nominal ones.
//
// Points are told in the coordinate type and units set, and are kept as X, Y, Z. Station and transformation, though
// they may be applied to what is measured, are not taken out again: the fit then says what they are to be.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

#include "simulator/handlers.h"
#include "simulator/tracker.h"
#include "simulator/uncertainty.h"

namespace kestrine::simulator {
namespace {

constexpr std::size_t kMostPoints = 1000;  // of each list

Frame without_poses(Frame frame) {
  frame.orientation = frame.transformation = Pose{};
  return frame;
}

// Metres for one more of each of the three values, at a point; columns.
std::array<Vector, 3> slopes(const Frame& frame, const Vector& values) {
  constexpr double kStep = 1e-6;  // of the value, or of its unit
  std::array<Vector, 3> columns;
  const std::array each{values.x, values.y, values.z};
  for (std::size_t i = 0; i < 3; ++i) {
    const double step = kStep * std::max(1.0, std::abs(each[i]));
    const Vector change{i == 0 ? step : 0, i == 1 ? step : 0, i == 2 ? step : 0};
    columns[i] = (1 / (2 * step)) * (frame.to_inside(values + change) - frame.to_inside(values - change));
  }
  return columns;
}

KnownPoint told_point(const Request& request) {
  const Frame frame = without_poses(request.frame());
  const Vector values = request.triple("val1");
  const Vector given = request.triple("std1");
  const Vector covariances = request.triple("covar12");
  KnownPoint point{frame.to_inside(values)};
  std::array deviations{given.x, given.y, given.z};
  Matrix mixed{
      {{0, covariances.x, covariances.y}, {covariances.x, 0, covariances.z}, {covariances.y, covariances.z, 0}}};
  std::array<Vector, 3> columns = slopes(frame, values);
  for (std::size_t i = 0; i < 3; ++i) {
    if (!is_approximate(deviations[i])) continue;
    const double size = length(columns[i]);
    if (size > 0) point.unknown.push_back((1 / size) * columns[i]);
    columns[i] = {};
    deviations[i] = 0;
  }
  const Matrix slope = from_columns(columns[0], columns[1], columns[2]);
  for (std::size_t i = 0; i < 3; ++i) mixed[i][i] = deviations[i] * deviations[i];
  point.covariance = slope * mixed * transposed(slope);
  return point;
}

// Whether any deviations and correlations could have made the covariance.
bool is_possible(const KnownPoint& point) {
  double sum = length(point.place);
  for (const auto& row : point.covariance) sum += std::abs(row[0]) + std::abs(row[1]) + std::abs(row[2]);
  if (!std::isfinite(sum)) return false;
  const Vector variances = principal_axes(point.covariance).values;
  constexpr double kRounding = 1e-9;
  return variances.z >= -kRounding * std::max(variances.x, 0.0);
}

template <std::vector<KnownPoint> State::*List>
void add_point(Tracker& tracker, const Request& request, const Reply& reply) {
  auto& list = tracker.state().*List;
  if (list.size() >= kMostPoints) return reply.status(VL_RS_MaxEntriesExceeded);
  const KnownPoint point = told_point(request);
  if (!is_possible(point)) return reply.status(VL_RS_InvalidInputData);
  list.push_back(point);
  tracker.state().best_fit.reset();
  reply.done();
}

template <std::vector<KnownPoint> State::*List>
void clear_points(Tracker& tracker, const Request&, const Reply& reply) {
  (tracker.state().*List).clear();
  tracker.state().best_fit.reset();
  reply.done();
}

Parameters given_parameters(const Settings& settings) {
  const auto data = settings.get<TransformationInputDataT>(VL_C_SetTransformationInputParams);
  Parameters given{{{data.dTransVal1, data.dTransStdVal1},
                    {data.dTransVal2, data.dTransStdVal2},
                    {data.dTransVal3, data.dTransStdVal3},
                    {data.dRotVal1, data.dRotStdVal1},
                    {data.dRotVal2, data.dRotStdVal2},
                    {data.dRotVal3, data.dRotStdVal3},
                    {data.dScale, data.dScaleStd}}};
  // A station stands somewhere, turned; it has no scale.
  if (data.resultType == VL_TR_AsOrientation) given.back() = {1, 0};
  return given;
}

void call_transformation(Tracker& tracker, const Request&, const Reply& reply) {
  State& state = tracker.state();
  state.best_fit = best_fit(state.nominal_points, state.actual_points, given_parameters(tracker.settings()));
  if (!state.best_fit) return reply.status(VL_RS_InvalidInputData);
  const auto& p = state.best_fit->parameters;
  CallTransformationRT answer;
  answer.dTransVal1 = p[0].value;
  answer.dTransVal2 = p[1].value;
  answer.dTransVal3 = p[2].value;
  answer.dRotVal1 = p[3].value;
  answer.dRotVal2 = p[4].value;
  answer.dRotVal3 = p[5].value;
  answer.dScale = p[6].value;
  answer.dTransStdVal1 = p[0].deviation;
  answer.dTransStdVal2 = p[1].deviation;
  answer.dTransStdVal3 = p[2].deviation;
  answer.dRotStdVal1 = p[3].deviation;
  answer.dRotStdVal2 = p[4].deviation;
  answer.dRotStdVal3 = p[5].deviation;
  answer.dScaleStd = p[6].deviation;
  answer.dRMS = state.best_fit->rms;
  answer.dMaxDev = state.best_fit->max_deviation;
  answer.dVarianceFactor = state.best_fit->variance_factor;
  reply.record(answer);
}

// Deviations of the three values; unknown where an unknown direction has any part in them.
Vector told_deviations(const Frame& frame, const KnownPoint& point, const Vector& known) {
  std::array deviations{known.x, known.y, known.z};
  const Matrix whole = frame.covariance_outside(point.place, kIdentity);
  for (const Vector& each : point.unknown) {
    const Matrix told = frame.covariance_outside(point.place, outer(each, each));
    constexpr double kPart = 1e-9;
    for (std::size_t i = 0; i < 3; ++i)
      if (told[i][i] > kPart * whole[i][i]) deviations[i] = kUnknown;
  }
  return {deviations[0], deviations[1], deviations[2]};
}

GetTransformedPointsRT transformed_point(const Frame& frame, const FittedPoint& fitted) {
  const KnownPoint& point = fitted.actual;
  const Vector values = frame.to_outside(point.place);
  Vector residual = values - frame.to_outside(point.place - fitted.residual);
  if (frame.type >= VL_CS_CCW)  // the shorter way round
    residual.x = std::remainder(residual.x, 2 * std::numbers::pi * angle_factor(frame.angle));
  const Uncertainty spread = uncertainty(frame, point.place, point.covariance);
  const Vector deviations = told_deviations(frame, point, spread.deviations);
  GetTransformedPointsRT item;
  item.dVal1 = values.x;
  item.dVal2 = values.y;
  item.dVal3 = values.z;
  item.dStd1 = deviations.x;
  item.dStd2 = deviations.y;
  item.dStd3 = deviations.z;
  item.dStdTotal = point.unknown.empty() ? spread.total : kUnknown;
  item.dCovar12 = spread.covariance12;
  item.dCovar13 = spread.covariance13;
  item.dCovar23 = spread.covariance23;
  item.dResidualVal1 = residual.x;
  item.dResidualVal2 = residual.y;
  item.dResidualVal3 = residual.z;
  return item;
}

void get_transformed_points(Tracker& tracker, const Request& request, const Reply& reply) {
  const auto& fit = tracker.state().best_fit;
  if (!fit) return reply.status(VL_RS_UsageConflict);
  const Frame frame = without_poses(request.frame());
  std::vector<GetTransformedPointsRT> items;
  for (const FittedPoint& each : fit->points) {
    items.push_back(transformed_point(frame, each));
    items.back().iTotalPoints = static_cast<std::int32_t>(fit->points.size());
  }
  reply.series_as_it_stands(items);
}

constexpr std::array kHandlers{
    Handler{VL_C_ClearTransformationNominalPointList, Needs::kNothing, clear_points<&State::nominal_points>},
    Handler{VL_C_ClearTransformationActualPointList, Needs::kNothing, clear_points<&State::actual_points>},
    Handler{VL_C_AddTransformationNominalPoint, Needs::kNothing, add_point<&State::nominal_points>},
    Handler{VL_C_AddTransformationActualPoint, Needs::kNothing, add_point<&State::actual_points>},
    Handler{VL_C_CallTransformation, Needs::kNothing, call_transformation},
    Handler{VL_C_GetTransformedPoints, Needs::kNothing, get_transformed_points},
};

}  // namespace

std::span<const Handler> transformation_handlers() {
  return kHandlers;
}

}  // namespace kestrine::simulator
