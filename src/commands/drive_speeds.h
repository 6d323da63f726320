// Driving the head by speed: a step left, right, up or down adds to the speed stored, a pair of speeds is sent as
// given. Percent of full speed; right and down are positive.
#pragma once

#include <cstdint>

#include "protocol/catalogue.h"

namespace kestrine::commands {

union Argument;

struct DriveSpeeds {
  std::int32_t horizontal = 0;
  std::int32_t vertical = 0;

  // What the operation changes before its request is built; stays changed when the request cannot be sent.
  void step(protocol::Speed drive);
  // What the operation sends: the stored speeds, or those given, each cut at full speed.
  DriveSpeeds to_send(protocol::Speed drive, const Argument* arguments) const;
  // Driving at a given speed leaves the stored speeds at rest: the next step starts from there.
  void sent(protocol::Speed drive);
  // The tracker stops an axis at its limit by itself: the next step of that axis starts from rest. `command` and
  // `status` are those of a bad answer, or of an error that belongs to no command.
  void clear_blocked(std::int32_t command, std::int32_t status);
};

}  // namespace kestrine::commands
