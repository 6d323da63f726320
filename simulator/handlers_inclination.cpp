// The inclination sensor: single readings, the tracker's tilt against gravity, the sensor's own index.
#include <array>
#include <memory>

#include "simulator/handlers.h"
#include "simulator/inclination.h"
#include "simulator/tracker.h"

namespace kestrine::simulator {
namespace {

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
    CallOrientToGravityRT answer;
    answer.dOmega = tilt_of(readings).along;
    answer.dPhi = tilt_of(readings).across;
    reply.record(answer);
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
    CallInclinationSensorCompensationRT answer;
    answer.dInclinationIndexL = index.along;
    answer.dInclinationIndexC = index.across;
    reply.record(answer);
    tracker.set_compensating(false);
    tracker.announce(VL_SSC_CompensatorStatusChanged);
  });
}

constexpr std::array kHandlers{
    Handler{VL_C_StartTiltraMeasurement, Needs::kReady, start_tiltra_measurement},
    Handler{VL_C_CallOrientToGravity, Needs::kReady, orient_to_gravity},
    Handler{VL_C_CallInclinationSensorCompensation, Needs::kReady, compensate_sensor},
};

}  // namespace

std::span<const Handler> inclination_handlers() {
  return kHandlers;
}

}  // namespace kestrine::simulator
