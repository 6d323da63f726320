// Starting and ending measurements.
#include <array>

#include "simulator/commands/commands.h"
#include "simulator/measuring/measuring.h"
#include "simulator/tracker/probe.h"
#include "simulator/tracker/settings.h"
#include "simulator/tracker/world.h"

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
  if (!is_in_reach(place)) return reply.status(out_of_range(3));
  const double radius = tracker.search_radius();
  reply.done();
  tracker.state().target.reset();
  tracker.act(tracker.drive().travel_time(to_polar(place)),
              [&tracker, place, radius, client = std::weak_ptr(reply.client())] {
                if (tracker.find_target(place, radius)) {
                  tracker.begin_measurement(measure_stationary(tracker, client));
                } else if (const auto asker = client.lock()) {
                  send_no_result(tracker, *asker, VL_RS_NoStationaryResult);
                }
              });
}

constexpr Handler kHandlers[]{
    {VL_C_StartMeasurement, Needs::kReady, start_measurement},
    {VL_C_StopMeasurement, Needs::kInitialised, stop_measurement},
    {VL_C_GoAndMeasure, Needs::kReady, go_and_measure},
};

}  // namespace

std::span<const Handler> measurement_handlers() {
  return kHandlers;
}

}  // namespace kestrine::simulator
