#include "commands/drive_speeds.h"

#include <algorithm>

#include "commands/arguments.h"
#include "kestrine/enums.h"

namespace kestrine::commands {

using protocol::Speed;

namespace {

constexpr std::int32_t kFullSpeed = 100;
constexpr std::int32_t kStep = 10;

// Statuses of an axis that ran into its limit while it was driven; the catalogue of statuses does not name them.
constexpr std::int32_t kHorizontalLimitStatus = 703;
constexpr std::int32_t kVerticalLimitStatus = 704;

void add(std::int32_t& speed, std::int32_t by) {
  if (by < 0 ? speed > -kFullSpeed : speed < kFullSpeed) speed += by;
}

std::int32_t clamp_speed(std::int32_t speed) {
  return std::clamp(speed, -kFullSpeed, kFullSpeed);
}

}  // namespace

void DriveSpeeds::step(Speed drive) {
  switch (drive) {
    case Speed::kNone:
    case Speed::kGiven:
      return;
    case Speed::kLeft:
      return add(horizontal, -kStep);
    case Speed::kRight:
      return add(horizontal, kStep);
    case Speed::kUp:
      return add(vertical, -kStep);
    case Speed::kDown:
      return add(vertical, kStep);
    case Speed::kStop:
      *this = {};
  }
}

DriveSpeeds DriveSpeeds::to_send(Speed drive, const Argument* arguments) const {
  if (drive != Speed::kGiven) return *this;
  return {clamp_speed(arguments[0].i32), clamp_speed(arguments[1].i32)};
}

void DriveSpeeds::sent(Speed drive) {
  if (drive == Speed::kGiven) *this = {};
}

void DriveSpeeds::clear_blocked(std::int32_t command, std::int32_t status) {
  if (command != VL_C_MoveHV && command != VL_C_Unknown) return;
  if (status == kVerticalLimitStatus) vertical = 0;
  if (status == kHorizontalLimitStatus) horizontal = 0;
}

}  // namespace kestrine::commands
