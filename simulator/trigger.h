// The trigger inputs and what is wired to them here: a clock of ten pulses a second, each high for its first half,
// and a start line that is high for two seconds out of three, for the first time half a second after a measurement
// has been armed.
#pragma once

#include <memory>

#include "simulator/sampling.h"
#include "simulator/settings.h"

namespace kestrine::simulator {

inline constexpr double kPulseInterval = 0.1;  // seconds

// As the trigger's settings say: the sampler itself while triggers come from the application, else one that follows
// the lines. Event triggers and the external clock take a point a pulse instead of the mode's own; a pulse sooner
// after the last than the least delay set still yields its point, marked as a violation.
std::unique_ptr<Sampler> triggered(std::unique_ptr<Sampler> own, const Settings& settings);

}  // namespace kestrine::simulator
