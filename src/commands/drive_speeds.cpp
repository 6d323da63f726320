#include "commands/drive_speeds.h"

#include <algorithm>

#include "commands/arguments.h"

namespace kestrine::commands {

using protocol::Speeds;

namespace {

constexpr std::int32_t kFullSpeed = 100;
constexpr std::int32_t kStep = 10;

void add(std::int32_t& speed, std::int32_t by) {
  if (by < 0 ? speed > -kFullSpeed : speed < kFullSpeed) speed += by;
}

std::int32_t clamp_speed(std::int32_t speed) {
  return std::clamp(speed, -kFullSpeed, kFullSpeed);
}

}  // namespace

void DriveSpeeds::step(Speeds drive) {
  switch (drive) {
    case Speeds::kNone:
    case Speeds::kGiven:
      return;
    case Speeds::kLeft:
      return add(horizontal, -kStep);
    case Speeds::kRight:
      return add(horizontal, kStep);
    case Speeds::kUp:
      return add(vertical, -kStep);
    case Speeds::kDown:
      return add(vertical, kStep);
    case Speeds::kStop:
      *this = {};
  }
}

DriveSpeeds DriveSpeeds::to_send(Speeds drive, const Argument* arguments) const {
  if (drive != Speeds::kGiven) return *this;
  return {clamp_speed(arguments[0].i32), clamp_speed(arguments[1].i32)};
}

void DriveSpeeds::sent(Speeds drive) {
  if (drive == Speeds::kGiven) *this = {};
}

}  // namespace kestrine::commands
