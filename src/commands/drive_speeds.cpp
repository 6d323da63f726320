#include "commands/drive_speeds.h"

#include <algorithm>
#include <string_view>

namespace kestrine::commands {
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

void DriveSpeeds::step(const MethodRow& row) {
  const std::string_view name = row.name;
  if (name == "MoveLeft") add(horizontal, -kStep);
  if (name == "MoveRight") add(horizontal, kStep);
  if (name == "MoveUp") add(vertical, -kStep);
  if (name == "MoveDown") add(vertical, kStep);
  if (name == "StopMove") *this = {};
}

DriveSpeeds DriveSpeeds::to_send(const MethodRow& row, const Argument* arguments) const {
  if (row.params.empty()) return *this;
  return {clamp_speed(arguments[0].i32), clamp_speed(arguments[1].i32)};
}

void DriveSpeeds::sent(const MethodRow& row) {
  if (!row.params.empty()) *this = {};
}

}  // namespace kestrine::commands
