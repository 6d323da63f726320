// Starting the kinds of measurements; the tracker holds the one that is under way.
#pragma once

#include <memory>

#include "simulator/tracker/tracker.h"

namespace kestrine::simulator {

// One point on the locked target, over the time that the mode takes.
std::unique_ptr<Measurement> measure_stationary(Tracker& tracker, std::weak_ptr<Client> client);
// The same with the probe's tip on the target.
std::unique_ptr<Measurement> measure_probe_stationary(Tracker& tracker, std::weak_ptr<Client> client);
// The centre of the sphere or circle that the mode leads its target over, with as many points as it asks for.
std::unique_ptr<Measurement> measure_centre(Tracker& tracker, std::weak_ptr<Client> client, VL_MeasMode mode);
// Points along the reflector's path until the count is reached or a stop comes.
std::unique_ptr<Measurement> measure_continuously(Tracker& tracker, std::weak_ptr<Client> client, VL_MeasMode mode);

// What a measurement of a single point answers when there is none.
void send_no_result(Tracker& tracker, Client& client, VL_ResultStatus status);

}  // namespace kestrine::simulator
