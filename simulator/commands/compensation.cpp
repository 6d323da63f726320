// Compensations that the tracker makes by itself: over drive points, of its target recognition, and with the
// inclination sensor, which also reads single inclinations and the tracker's tilt against gravity.
#include <algorithm>
#include <array>
#include <cmath>
#include <memory>

#include "simulator/commands/commands.h"
#include "simulator/tracker/inclination.h"
#include "simulator/tracker/inventory.h"
#include "simulator/tracker/world.h"

namespace kestrine::simulator {
namespace {

constexpr std::size_t kFewestDrivePoints = 3;
constexpr double kBothFaces = 2.6;  // seconds at a drive point: a measurement, the head turned over, a measurement
constexpr double kRecognising = 5;
constexpr double kBirdBathCheck = 1;

void clear_drive_points(Tracker& tracker, const Request&, const Reply& reply) {
  tracker.state().drive_points.clear();
  reply.done();
}

void add_drive_point(Tracker& tracker, const Request& request, const Reply& reply) {
  if (!find_item(kReflectors, request.integer("reflectorID"))) return reply.status(VL_RS_WrongParameter1);
  const Vector place = request.position("val1");
  if (!is_in_reach(place)) return reply.status(out_of_range(4));
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
    if (!tracker.find_target(place, tracker.search_radius())) {
      round->reply.status(VL_RS_NoStationaryResult);
      return tracker.set_compensating(false);
    }
    round->residuals.push_back(residual(tracker, *tracker.state().target));
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

// Asked for the current values it answers what the last compensation found, without another one.
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

constexpr double kSensorTemperature = 21.5;
// Seconds that the sensor's liquid gets to calm down; a real one wants several times that.
constexpr double kCalmingDown = 1;

bool has_sensor(Tracker& tracker) {
  return tracker.settings().get<SystemSettingsDataT>(VL_C_SetSystemSettings).bHasTiltra != 0;
}

Inclination read(Tracker& tracker) {
  return read_inclination(tracker.noise(), tracker.drive().aim().horizontal, tracker.state().sensor_index);
}

// The sensor answers at once: acknowledgement and reading leave together.
void start_tiltra_measurement(Tracker& tracker, const Request&, const Reply& reply) {
  if (!has_sensor(tracker)) return reply.status(VL_RS_NoTiltra);
  reply.done();
  const SystemUnitsDataT units = tracker.frame().units();
  const Inclination reading = read(tracker);
  TiltraResultT result;
  result.dXTilt = to_units(Quantity::kAngle, reading.along, units);
  result.dYTilt = to_units(Quantity::kAngle, reading.across, units);
  result.dTiltraTemperature = to_units(Quantity::kTemperature, kSensorTemperature, units);
  Bytes packet = packed(result);
  begin_data_packet(packet, VL_DT_TiltraResult, VL_RS_AllOK);
  if (const auto client = reply.client()) client->send(std::move(packet));
}

struct WayAround {
  Polar back_to;
  std::optional<Vector> target;
  std::size_t position = 0;
  Round readings;
  std::function<void(const Round&)> done;
};

void go_around(Tracker& tracker, const std::shared_ptr<WayAround>& way) {
  const bool is_over = way->position == kLevelPositions;
  const Polar aim = is_over ? way->back_to : level_position(way->position);
  const double seconds = tracker.drive().travel_time(aim) + (is_over ? 0 : kCalmingDown);
  tracker.act(seconds, [&tracker, way, aim, is_over] {
    tracker.drive().point(aim);
    if (is_over) {
      tracker.state().target = way->target;
      return way->done(way->readings);
    }
    way->readings[way->position++] = read(tracker);
    go_around(tracker, way);
  });
}

// Reads in all four positions. The beam comes back to where it was, and to the target it was locked on.
void read_around(Tracker& tracker, std::function<void(const Round&)> done) {
  const auto way = std::make_shared<WayAround>();
  way->back_to = tracker.drive().aim();
  way->target = std::exchange(tracker.state().target, std::nullopt);
  way->done = std::move(done);
  go_around(tracker, way);
}

void orient_to_gravity(Tracker& tracker, const Request&, const Reply& reply) {
  if (!has_sensor(tracker)) return reply.status(VL_RS_NoTiltra);
  read_around(tracker, [reply](const Round& readings) {
    reply.record(CallOrientToGravityRT{.dOmega = tilt_of(readings).along, .dPhi = tilt_of(readings).across});
  });
}

// What was found holds for the readings to come.
void compensate_sensor(Tracker& tracker, const Request&, const Reply& reply) {
  if (!has_sensor(tracker)) return reply.status(VL_RS_NoTiltra);
  tracker.set_compensating(true);
  tracker.state().sensor_index = {};
  read_around(tracker, [&tracker, reply](const Round& readings) {
    const Inclination index = index_of(readings);
    tracker.state().sensor_index = index;
    reply.record(
        CallInclinationSensorCompensationRT{.dInclinationIndexL = index.along, .dInclinationIndexC = index.across});
    tracker.set_compensating(false);
    tracker.announce(VL_SSC_CompensatorStatusChanged);
  });
}

// A fresh look at the reflector at rest, against where it was at the start.
void check_bird_bath(Tracker& tracker, const Request&, const Reply& reply) {
  tracker.act(kBirdBathCheck, [&tracker, reply] {
    tracker.lock_on(kBirdBath);
    const Polar initial = to_polar(kBirdBath);
    const Polar now = to_polar(Noise::displaced(kBirdBath, tracker.noise().deviation(initial.distance)));
    reply.record(CheckBirdBathRT{.dInitialHzAngle = initial.horizontal,
                                 .dInitialVtAngle = initial.vertical,
                                 .dInitialDistance = initial.distance,
                                 .dHzAngleDiff = wrapped(now.horizontal - initial.horizontal),
                                 .dVtAngleDiff = now.vertical - initial.vertical,
                                 .dDistanceDiff = now.distance - initial.distance});
  });
}

constexpr Handler kHandlers[]{
    {VL_C_CheckBirdBath, Needs::kReady, check_bird_bath},
    {VL_C_StartTiltraMeasurement, Needs::kReady, start_tiltra_measurement},
    {VL_C_CallOrientToGravity, Needs::kReady, orient_to_gravity},
    {VL_C_CallInclinationSensorCompensation, Needs::kReady, compensate_sensor},
    {VL_C_ClearDrivePointList, Needs::kNothing, clear_drive_points},
    {VL_C_AddDrivePoint, Needs::kNothing, add_drive_point},
    {VL_C_CallIntermediateCompensation, Needs::kReady, compensate_over_drive_points},
    {VL_C_CallATRCompensation, Needs::kReady, compensate_recognition},
};

}  // namespace

std::span<const Handler> compensation_handlers() {
  return kHandlers;
}

}  // namespace kestrine::simulator
