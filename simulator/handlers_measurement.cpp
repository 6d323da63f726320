// Starting and ending measurements.
#include <array>

#include "simulator/handlers.h"
#include "simulator/limits.h"
#include "simulator/tracker.h"

namespace kestrine::simulator {
namespace {

bool is_stationary(VL_MeasMode mode) {
  return mode == VL_MM_Stationary || mode >= VL_MM_Fast;
}

bool is_continuous(VL_MeasMode mode) {
  return mode == VL_MM_ContinuousTime || mode == VL_MM_ContinuousDistance || mode == VL_MM_Grid;
}

bool needs_probe(VL_MeasMode mode) {
  return mode >= VL_MM_6DStationary && mode <= VL_MM_6DCircleCenter;
}

void start_measurement(Tracker& tracker, const Request&, const Reply& reply) {
  const auto mode = tracker.settings().get<VL_MeasMode>(VL_C_SetMeasurementMode);
  if (needs_probe(mode)) return reply.status(VL_RS_NoMeasurementProbe);
  if (!tracker.state().target) return reply.status(VL_RS_NoDistanceSet);
  if (!is_stationary(mode) && !is_continuous(mode)) return reply.status(VL_RS_NotImplemented);
  reply.done();
  const auto client = reply.client();
  tracker.begin_measurement(is_stationary(mode) ? measure_stationary(tracker, client)
                                                : measure_continuously(tracker, client, mode));
}

// The rest of a stream goes out before the acknowledgement of its end.
void stop_measurement(Tracker& tracker, const Request&, const Reply& reply) {
  if (Measurement* measurement = tracker.measurement()) measurement->stop();
  reply.done();
  tracker.end_measurement();
}

void go_and_measure(Tracker& tracker, const Request& request, const Reply& reply) {
  const Vector place = request.position("refVal1");
  const Polar aim = to_polar(place);
  if (aim.distance < kNearest || aim.distance > kFarthest) return reply.status(out_of_range(3));
  const double radius = tracker.settings().get<SearchParamsDataT>(VL_C_SetSearchParams).dSearchRadius;
  reply.done();
  tracker.state().target.reset();
  tracker.act(tracker.drive().travel_time(aim), [&tracker, place, radius, client = std::weak_ptr(reply.client())] {
    tracker.drive().point(to_polar(place));
    const auto target = tracker.state().laser_on ? target_near(place, radius) : std::nullopt;
    if (target) {
      tracker.lock_on(*target);
      tracker.begin_measurement(measure_stationary(tracker, client));
    } else if (const auto asker = client.lock()) {
      send_no_result(tracker, *asker, VL_RS_NoStationaryResult);
    }
  });
}

// The sensor answers at once: acknowledgement and reading leave together.
void start_tiltra_measurement(Tracker& tracker, const Request&, const Reply& reply) {
  if (!tracker.settings().get<SystemSettingsDataT>(VL_C_SetSystemSettings).bHasTiltra)
    return reply.status(VL_RS_NoTiltra);
  reply.done();
  const Frame frame = tracker.frame();
  TiltraResultT result;
  result.dXTilt = to_units(Quantity::kAngle, 12e-6, frame.units());
  result.dYTilt = to_units(Quantity::kAngle, -7e-6, frame.units());
  result.dTiltraTemperature = to_units(Quantity::kTemperature, 21.5, frame.units());
  Bytes packet = packed(result);
  begin_data_packet(packet, VL_DT_TiltraResult, VL_RS_AllOK);
  if (const auto client = reply.client()) client->send(std::move(packet));
}

constexpr std::array kHandlers{
    Handler{VL_C_StartMeasurement, Needs::kReady, start_measurement},
    Handler{VL_C_StopMeasurement, Needs::kInitialised, stop_measurement},
    Handler{VL_C_GoAndMeasure, Needs::kReady, go_and_measure},
    Handler{VL_C_StartTiltraMeasurement, Needs::kReady, start_tiltra_measurement},
};

}  // namespace

std::span<const Handler> measurement_handlers() {
  return kHandlers;
}

}  // namespace kestrine::simulator
