// The commands that need code of their own, by group. What they leave out is stored and told by the settings' rows.
#pragma once

#include <span>

#include "kestrine/enums.h"

namespace kestrine::simulator {

class Reply;
class Request;
class Tracker;

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

std::span<const Handler> status_handlers();
std::span<const Handler> device_handlers();
std::span<const Handler> motion_handlers();
std::span<const Handler> measurement_handlers();
std::span<const Handler> list_handlers();
std::span<const Handler> probe_handlers();
std::span<const Handler> computation_handlers();
std::span<const Handler> transformation_handlers();
std::span<const Handler> compensation_handlers();
std::span<const Handler> inclination_handlers();

const Handler* find_handler(std::int32_t command);

}  // namespace kestrine::simulator
