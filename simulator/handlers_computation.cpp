// Point lists, transformations between them, compensations and other sums.
#include <algorithm>
#include <array>
#include <cmath>

#include "simulator/handlers.h"
#include "simulator/inventory.h"
#include "simulator/tracker.h"

namespace kestrine::simulator {
namespace {

constexpr int kFewestPoints = 3;  // that fix a transformation
constexpr double kBirdBathCheck = 1;
constexpr double kLevelling = 5;
constexpr double kCompensating = 10;

template <int State::*Count>
void clear_points(Tracker& tracker, const Request&, const Reply& reply) {
  tracker.state().*Count = 0;
  reply.done();
}

template <int State::*Count>
void add_point(Tracker& tracker, const Request&, const Reply& reply) {
  ++(tracker.state().*Count);
  reply.done();
}

void add_drive_point(Tracker& tracker, const Request& request, const Reply& reply) {
  if (!is_reflector(request.integer("reflectorID"))) return reply.status(VL_RS_WrongParameter1);
  add_point<&State::drive_points>(tracker, request, reply);
}

bool has_points(const State& state) {
  return state.nominal_points >= kFewestPoints && state.nominal_points == state.actual_points;
}

// The lists are kept and counted; the fit itself is not there yet.
void transform(Tracker& tracker, const Request&, const Reply& reply) {
  reply.status(has_points(tracker.state()) ? VL_RS_NotImplemented : VL_RS_InvalidInputData);
}

void convert_display_coordinates(Tracker&, const Request& request, const Reply& reply) {
  Frame base = request.frame();
  base.type = VL_CS_RHR;
  base.orientation = base.transformation = Pose{};
  const bool to_current = request.integer("conversionType") == VL_DCC_BaseToCurrent;
  const Frame& from = to_current ? base : request.frame();
  const Frame& to = to_current ? request.frame() : base;
  const Vector values = to.to_outside(from.to_inside(request.triple("val1")));
  ConvertDisplayCoordinatesRT answer;
  answer.dVal1 = values.x;
  answer.dVal2 = values.y;
  answer.dVal3 = values.z;
  reply.record_as_it_stands(answer);
}

// The covariance comes told in the set coordinate system and units; in angles it is not an ellipsoid's.
void get_error_ellipsoid(Tracker&, const Request& request, const Reply& reply) {
  if (request.frame().type >= VL_CS_CCW) return reply.status(VL_RS_UsageConflict);
  const Vector deviations = request.triple("stdDev1");
  const Vector covariances = request.triple("covar12");
  const Matrix told{{{deviations.x * deviations.x, covariances.x, covariances.y},
                     {covariances.x, deviations.y * deviations.y, covariances.z},
                     {covariances.y, covariances.z, deviations.z * deviations.z}}};
  const auto is_finite = [](const auto& row) { return std::isfinite(row[0] + row[1] + row[2]); };
  if (!std::all_of(told.begin(), told.end(), is_finite)) return reply.status(VL_RS_InvalidInputData);
  const Axes axes = principal_axes(told);
  if (axes.values.z < 0) return reply.status(VL_RS_InvalidInputData);
  const Vector angles = angle_factor(request.frame().angle) * rotation_angles(axes.directions);
  GetErrorEllipsoidRT answer;
  answer.dStdDevX = std::sqrt(axes.values.x);
  answer.dStdDevY = std::sqrt(axes.values.y);
  answer.dStdDevZ = std::sqrt(axes.values.z);
  answer.dRotationAngleX = angles.x;
  answer.dRotationAngleY = angles.y;
  answer.dRotationAngleZ = angles.z;
  reply.record_as_it_stands(answer);
}

// A fresh look at the reflector at rest, against where it was at the start.
void check_bird_bath(Tracker& tracker, const Request&, const Reply& reply) {
  tracker.act(kBirdBathCheck, [&tracker, reply] {
    tracker.lock_on(bird_bath());
    const Polar initial = to_polar(bird_bath());
    const Polar now = to_polar(Noise::displaced(bird_bath(), tracker.noise().deviation(initial.distance)));
    CheckBirdBathRT answer;
    answer.dInitialHzAngle = initial.horizontal;
    answer.dInitialVtAngle = initial.vertical;
    answer.dInitialDistance = initial.distance;
    answer.dHzAngleDiff = wrapped(now.horizontal - initial.horizontal);
    answer.dVtAngleDiff = now.vertical - initial.vertical;
    answer.dDistanceDiff = now.distance - initial.distance;
    reply.record(answer);
  });
}

// The simulated tracker stands a few seconds of arc out of level.
void orient_to_gravity(Tracker& tracker, const Request&, const Reply& reply) {
  tracker.act(kLevelling, [reply] {
    CallOrientToGravityRT answer;
    answer.dOmega = 12e-6;
    answer.dPhi = -7e-6;
    reply.record(answer);
  });
}

void intermediate_compensation(Tracker& tracker, const Request&, const Reply& reply) {
  if (tracker.state().drive_points < kFewestPoints) return reply.status(VL_RS_InvalidInputData);
  tracker.act(kCompensating, [reply] {
    CallIntermediateCompensationRT answer;
    answer.dTotalRMS = 11e-6;
    answer.dMaxDev = 24e-6;
    reply.record(answer);
  });
}

void atr_compensation(Tracker& tracker, const Request&, const Reply& reply) {
  const auto target = tracker.state().target;
  if (!target) return reply.status(VL_RS_NoDistanceSet);
  tracker.act(kLevelling, [reply, distance = length(*target)] {
    CallATRCompensationRT answer;
    answer.dZeroPixelX = 640.4;
    answer.dZeroPixelY = 511.7;
    answer.dStdDevZeroPixelX = 0.05;
    answer.dStdDevZeroPixelY = 0.06;
    answer.dDistance = distance;
    reply.record(answer);
  });
}

void inclination_compensation(Tracker& tracker, const Request&, const Reply& reply) {
  tracker.act(kLevelling, [reply] {
    CallInclinationSensorCompensationRT answer;
    answer.dInclinationIndexL = 3e-6;
    answer.dInclinationIndexC = -2e-6;
    reply.record(answer);
  });
}

constexpr std::array kHandlers{
    Handler{VL_C_ClearTransformationNominalPointList, Needs::kNothing, clear_points<&State::nominal_points>},
    Handler{VL_C_ClearTransformationActualPointList, Needs::kNothing, clear_points<&State::actual_points>},
    Handler{VL_C_ClearDrivePointList, Needs::kNothing, clear_points<&State::drive_points>},
    Handler{VL_C_AddTransformationNominalPoint, Needs::kNothing, add_point<&State::nominal_points>},
    Handler{VL_C_AddTransformationActualPoint, Needs::kNothing, add_point<&State::actual_points>},
    Handler{VL_C_AddDrivePoint, Needs::kNothing, add_drive_point},
    Handler{VL_C_CallTransformation, Needs::kNothing, transform},
    Handler{VL_C_GetTransformedPoints, Needs::kNothing, transform},
    Handler{VL_C_ConvertDisplayCoordinates, Needs::kNothing, convert_display_coordinates},
    Handler{VL_C_GetErrorEllipsoid, Needs::kNothing, get_error_ellipsoid},
    Handler{VL_C_CheckBirdBath, Needs::kReady, check_bird_bath},
    Handler{VL_C_CallOrientToGravity, Needs::kReady, orient_to_gravity},
    Handler{VL_C_CallIntermediateCompensation, Needs::kReady, intermediate_compensation},
    Handler{VL_C_CallATRCompensation, Needs::kReady, atr_compensation},
    Handler{VL_C_CallInclinationSensorCompensation, Needs::kReady, inclination_compensation},
};

}  // namespace

std::span<const Handler> computation_handlers() {
  return kHandlers;
}

}  // namespace kestrine::simulator
