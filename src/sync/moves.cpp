// Driving the head by speed: a step left, right, up or down adds to the speed stored, a pair of speeds is sent
// as given.
#include <algorithm>
#include <string_view>

#include "sync/operations.h"

namespace kestrine::sync {
namespace {

constexpr std::int32_t kFullSpeed = 100;
constexpr std::int32_t kStep = 10;

void step(std::int32_t& speed, std::int32_t by) {
  if (by < 0 ? speed > -kFullSpeed : speed < kFullSpeed) speed += by;
}

std::int32_t clamp_speed(std::int32_t speed) {
  return std::clamp(speed, -kFullSpeed, kFullSpeed);
}

}  // namespace

// Up is the negative vertical direction.
void CLTCommandSyncBase::step_speeds(const MethodRow& row) {
  const std::string_view name = row.name;
  if (name == "MoveLeft") step(horizontal_speed_, -kStep);
  if (name == "MoveRight") step(horizontal_speed_, kStep);
  if (name == "MoveUp") step(vertical_speed_, -kStep);
  if (name == "MoveDown") step(vertical_speed_, kStep);
  if (name == "StopMove") horizontal_speed_ = vertical_speed_ = 0;
}

CLTCommandSyncBase::Speeds CLTCommandSyncBase::speeds_to_send(const MethodRow& row, const Argument* arguments) const {
  if (row.params.empty()) return {horizontal_speed_, vertical_speed_};
  return {clamp_speed(arguments[0].i32), clamp_speed(arguments[1].i32)};
}

}  // namespace kestrine::sync
