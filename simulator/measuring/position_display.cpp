#include "simulator/measuring/position_display.h"

#include "simulator/measuring/results.h"

namespace kestrine::simulator {
namespace {

constexpr double kInterval = 1.0 / 3;

// Without any noise.
Bytes probe_packet(Tracker& tracker, const Vector& tip) {
  const ProbeTools tools = probe_tools(tracker);
  ProbePosResultT position;
  fill_tip(position, tools);
  fill_pose(position, tracker.frame(), ProbeView(tools, tip).displaced({}, {}));
  return data_packet(position, VL_DT_ProbePosResult);
}

Bytes reflector_packet(Tracker& tracker, const Vector& target) {
  ReflectorPosResultT position;
  set_values(position, tracker.frame().to_values(target));
  return data_packet(position, VL_DT_ReflectorPosResult);
}

}  // namespace

PositionDisplay::PositionDisplay(Tracker& tracker) : tracker_(tracker), timer_(tracker.scheduler()) {
  start();
}

void PositionDisplay::start() {
  timer_.start(
      kInterval, [this] { show(); }, Pace::kWall);
}

void PositionDisplay::show() {
  start();
  const auto& target = tracker_.state().target;
  if (!tracker_.state().initialised || !target) return;
  const bool is_probe = is_probe_mode(tracker_.settings().get<VL_MeasMode>(VL_C_SetMeasurementMode));
  const Bytes packet = is_probe ? probe_packet(tracker_, *target) : reflector_packet(tracker_, *target);
  for (const auto& client : tracker_.clients()) {
    // A display is worth nothing late: a client that does not read gets none.
    if (client->wants_positions && client->backlog() == 0) client->send(packet);
  }
}

}  // namespace kestrine::simulator
