// Starting and ending measurements.
#include <array>

#include "simulator/handlers.h"
#include "simulator/limits.h"
#include "simulator/modes.h"
#include "simulator/probe.h"
#include "simulator/tracker.h"

namespace kestrine::simulator {
namespace {

std::unique_ptr<Measurement> measure(Tracker& tracker, const std::weak_ptr<Client>& client, VL_MeasMode mode) {
  if (is_centre(mode)) return measure_centre(tracker, client, mode);
  if (!is_stationary(mode)) return measure_continuously(tracker, client, mode);
  return is_probe_mode(mode) ? measure_probe_stationary(tracker, client) : measure_stationary(tracker, client);
}

void start_measurement(Tracker& tracker, const Request&, const Reply& reply) {
  const auto mode = tracker.settings().get<VL_MeasMode>(VL_C_SetMeasurementMode);
  if (is_probe_mode(mode)) {
    const VL_ResultStatus refusal = probe_refusal(tracker);
    if (refusal != VL_RS_AllOK) return reply.status(refusal);
  }
  if (!tracker.state().target) return reply.status(VL_RS_NoDistanceSet);
  reply.done();
  tracker.begin_measurement(measure(tracker, reply.client(), mode));
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

constexpr std::array kHandlers{
    Handler{VL_C_StartMeasurement, Needs::kReady, start_measurement},
    Handler{VL_C_StopMeasurement, Needs::kInitialised, stop_measurement},
    Handler{VL_C_GoAndMeasure, Needs::kReady, go_and_measure},
};

}  // namespace

std::span<const Handler> measurement_handlers() {
  return kHandlers;
}

}  // namespace kestrine::simulator
