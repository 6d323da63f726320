// Compensations that the tracker makes by itself, over drive points and of its target recognition.
#include <algorithm>
#include <array>
#include <cmath>
#include <memory>

#include "simulator/handlers.h"
#include "simulator/inventory.h"
#include "simulator/limits.h"
#include "simulator/tracker.h"

namespace kestrine::simulator {
namespace {

constexpr std::size_t kFewestDrivePoints = 3;
constexpr double kBothFaces = 2.6;  // seconds at a drive point: a measurement, the head turned over, a measurement
constexpr double kRecognising = 5;

void clear_drive_points(Tracker& tracker, const Request&, const Reply& reply) {
  tracker.state().drive_points.clear();
  reply.done();
}

void add_drive_point(Tracker& tracker, const Request& request, const Reply& reply) {
  if (!is_reflector(request.integer("reflectorID"))) return reply.status(VL_RS_WrongParameter1);
  const Vector place = request.position("val1");
  if (length(place) < kNearest || length(place) > kFarthest) return reply.status(out_of_range(4));
  tracker.state().drive_points.push_back(place);
  reply.done();
}

struct DriveRound {
  std::vector<Vector> places;
  std::vector<double> residuals;
  Reply reply;
};

void finish(Tracker& tracker, const DriveRound& round) {
  double squares = 0;
  for (const double each : round.residuals) squares += each * each;
  CallIntermediateCompensationRT answer;
  answer.dTotalRMS = std::sqrt(squares / static_cast<double>(round.residuals.size()));
  answer.dMaxDev = *std::max_element(round.residuals.begin(), round.residuals.end());
  round.reply.record(answer);
  tracker.set_compensating(false);
}

// Half the difference between the two faces is what the axes' errors and the noise leave.
double residual(Tracker& tracker, const Vector& target) {
  const Vector first = tracker.noise().deviation(length(target));
  const Vector second = tracker.noise().deviation(length(target));
  return length(0.5 * (first - second));
}

void drive_on(Tracker& tracker, const std::shared_ptr<DriveRound>& round) {
  if (round->residuals.size() == round->places.size()) return finish(tracker, *round);
  const Vector place = round->places[round->residuals.size()];
  tracker.act(tracker.drive().travel_time(to_polar(place)) + kBothFaces, [&tracker, round, place] {
    const double radius = tracker.settings().get<SearchParamsDataT>(VL_C_SetSearchParams).dSearchRadius;
    const auto target = tracker.state().laser_on ? target_near(place, radius) : std::nullopt;
    tracker.drive().point(to_polar(place));
    if (!target) {
      round->reply.status(VL_RS_NoStationaryResult);
      return tracker.set_compensating(false);
    }
    tracker.lock_on(*target);
    round->residuals.push_back(residual(tracker, *target));
    drive_on(tracker, round);
  });
}

void compensate_over_drive_points(Tracker& tracker, const Request&, const Reply& reply) {
  const State& state = tracker.state();
  if (state.drive_points.size() < kFewestDrivePoints) return reply.status(VL_RS_InvalidInputData);
  tracker.set_compensating(true);
  tracker.state().target.reset();
  drive_on(tracker, std::make_shared<DriveRound>(DriveRound{state.drive_points, {}, reply}));
}

// Where a target's image lies when the beam hits its centre, in pixels of the module on the axis and of the wide one.
struct ZeroPixel {
  double x, y;
};
constexpr std::array kZeroPixels{ZeroPixel{640.4, 511.7}, ZeroPixel{320.9, 240.2}};
constexpr ZeroPixel kSpread{0.05, 0.06};
constexpr double kFactoryDistance = 5;

CallATRCompensationRT recognition(const ZeroPixel& zero, double distance) {
  CallATRCompensationRT found;
  found.dZeroPixelX = zero.x;
  found.dZeroPixelY = zero.y;
  found.dStdDevZeroPixelX = kSpread.x;
  found.dStdDevZeroPixelY = kSpread.y;
  found.dDistance = distance;
  return found;
}

// Asked for the current values it tells what the last compensation found, without another one.
void compensate_recognition(Tracker& tracker, const Request& request, const Reply& reply) {
  const auto module = static_cast<VL_ATR_Module>(request.integer("atrModule"));
  const bool is_wide = module == AM_WideAngle || module == AM_CurrentWideAngleValues;
  const ZeroPixel zero = kZeroPixels[is_wide];
  auto& known = tracker.state().recognition[is_wide];
  if (module == AM_CurrentOnAxisValues || module == AM_CurrentWideAngleValues)
    return reply.record(known ? *known : recognition(zero, kFactoryDistance));
  const auto target = tracker.state().target;
  if (!target) return reply.status(VL_RS_NoDistanceSet);
  tracker.set_compensating(true);
  tracker.act(kRecognising, [&tracker, &known, reply, zero, distance = length(*target)] {
    Noise& noise = tracker.noise();
    known = recognition({zero.x + kSpread.x * noise.normal(), zero.y + kSpread.y * noise.normal()}, distance);
    reply.record(*known);
    tracker.set_compensating(false);
  });
}

constexpr std::array kHandlers{
    Handler{VL_C_ClearDrivePointList, Needs::kNothing, clear_drive_points},
    Handler{VL_C_AddDrivePoint, Needs::kNothing, add_drive_point},
    Handler{VL_C_CallIntermediateCompensation, Needs::kReady, compensate_over_drive_points},
    Handler{VL_C_CallATRCompensation, Needs::kReady, compensate_recognition},
};

}  // namespace

std::span<const Handler> compensation_handlers() {
  return kHandlers;
}

}  // namespace kestrine::simulator
