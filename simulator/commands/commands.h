// The way of a command: checks, then its handler. What has no handler is a setting, stored and returned by its row.
#pragma once

#include <memory>
#include <span>

#include "simulator/tracker/tracker.h"

namespace kestrine::simulator {

// A whole packet from a client. What is no command at all gets an error packet.
void execute(Tracker& tracker, const std::shared_ptr<Client>& client, Bytes packet);

// What must hold before a command is looked at any closer.
enum class Needs {
  kNothing,
  kInitialised,
  kReady,  // initialised, and neither moving nor measuring
};

struct Handler {
  VL_Command command;
  Needs needs;
  void (*run)(Tracker& tracker, const Request& request, const Reply& reply);
};

// --- What is accepted as a parameter and what is refused.

// The status for a parameter, counted from 1. There are six numbers for ranges and sixteen for wrong values.
VL_ResultStatus wrong_parameter(int number);
VL_ResultStatus out_of_range(int number);
VL_ResultStatus out_of_range_but_accepted(int number);
// Accepted, perhaps with a warning.
bool is_accepted(VL_ResultStatus status);

// Looks at every parameter: enumerations must have the value, numbers must be finite and in range.
VL_ResultStatus check_parameters(const Request& request);

// --- The handlers, by group.

std::span<const Handler> compensation_handlers();
std::span<const Handler> device_handlers();
std::span<const Handler> list_handlers();
std::span<const Handler> measurement_handlers();
std::span<const Handler> motion_handlers();
std::span<const Handler> status_handlers();
std::span<const Handler> transformation_handlers();

}  // namespace kestrine::simulator
