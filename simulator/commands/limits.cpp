#include "simulator/commands/commands.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <string_view>

#include "kestrine/wire.h"
#include "simulator/tracker/world.h"

namespace kestrine::simulator {
namespace {

constexpr double kNoLimit = std::numeric_limits<double>::infinity();
constexpr double kSmallest = 1e-6;  // of lengths that must not vanish
constexpr double kMostPoints = 2147483647;

// In base units. Outside `low` to `high` a value is refused, outside `usual_low` to `usual_high` it is accepted
// with a warning.
struct Limit {
  VL_Command command;
  std::string_view parameter;  // without the number, where several are numbered
  Quantity quantity;
  double low, high;
  double usual_low = -kNoLimit, usual_high = kNoLimit;
};

constexpr std::array kLimits{
    // The weather that the air's refraction formula holds for, and the weather of a shop floor.
    Limit{VL_C_SetEnvironmentParams, "temperature", Quantity::kTemperature, -20, 60, 0, 40},
    Limit{VL_C_SetEnvironmentParams, "pressure", Quantity::kPressure, 400, 1200, 600, 1100},
    Limit{VL_C_SetEnvironmentParams, "humidity", Quantity::kNone, 0, 100, 5, 95},
    Limit{VL_C_SetRefractionParams, "ifmRefractionIndex", Quantity::kNone, 1, 1.001},
    Limit{VL_C_SetRefractionParams, "admRefractionIndex", Quantity::kNone, 1, 1.001},
    Limit{VL_C_SetTransformationParams, "scale", Quantity::kNone, kSmallest, 1e6},
    Limit{VL_C_AddTransformationNominalPoint, "std", Quantity::kNone, 0, kNoLimit},
    Limit{VL_C_AddTransformationActualPoint, "std", Quantity::kNone, 0, kNoLimit},
    Limit{VL_C_SetTransformationInputParams, "transStdVal", Quantity::kNone, 0, kNoLimit},
    Limit{VL_C_SetTransformationInputParams, "rotStdVal", Quantity::kNone, 0, kNoLimit},
    Limit{VL_C_SetTransformationInputParams, "scaleStd", Quantity::kNone, 0, kNoLimit},
    Limit{VL_C_SetSphereRegionParams, "radius", Quantity::kLength, 0, kNoLimit},
    Limit{VL_C_SetStationaryModeParams, "time", Quantity::kNone, 100, 100000},
    Limit{VL_C_SetContinuousTimeModeParams, "timeSeparation", Quantity::kNone, 0, 99999},
    Limit{VL_C_SetContinuousTimeModeParams, "numberOfPoints", Quantity::kNone, 0, kMostPoints},
    Limit{VL_C_SetContinuousDistanceModeParams, "spatialDistance", Quantity::kLength, kSmallest, kFarthest},
    Limit{VL_C_SetContinuousDistanceModeParams, "numberOfPoints", Quantity::kNone, 0, kMostPoints},
    Limit{VL_C_SetSphereCenterModeParams, "spatialDistance", Quantity::kLength, kSmallest, kFarthest},
    Limit{VL_C_SetSphereCenterModeParams, "numberOfPoints", Quantity::kNone, 4, 10000},
    Limit{VL_C_SetSphereCenterModeParams, "radius", Quantity::kLength, 0, kFarthest},
    Limit{VL_C_SetCircleCenterModeParams, "spatialDistance", Quantity::kLength, kSmallest, kFarthest},
    Limit{VL_C_SetCircleCenterModeParams, "numberOfPoints", Quantity::kNone, 3, 10000},
    Limit{VL_C_SetCircleCenterModeParams, "radius", Quantity::kLength, 0, kFarthest},
    Limit{VL_C_SetGridModeParams, "val", Quantity::kLength, 0, kFarthest},
    Limit{VL_C_SetGridModeParams, "numberOfPoints", Quantity::kNone, 0, kMostPoints},
    Limit{VL_C_SetSearchParams, "searchRadius", Quantity::kLength, 0, 1, 0, 0.5},
    Limit{VL_C_SetSearchParams, "timeOut", Quantity::kNone, 0, 300000},
    Limit{VL_C_SetAdmParams, "targetStabilityTolerance", Quantity::kLength, 0, 0.01},
    Limit{VL_C_SetAdmParams, "retryTimeFrame", Quantity::kNone, 0, 100000},
    Limit{VL_C_SetAdmParams, "numberOfRetrys", Quantity::kNone, 0, 100},
    Limit{VL_C_SetCameraParams, "contrast", Quantity::kNone, 0, 255},
    Limit{VL_C_SetCameraParams, "brightness", Quantity::kNone, 0, 255},
    Limit{VL_C_SetCameraParams, "saturation", Quantity::kNone, 0, 255},
    Limit{VL_C_SetLaserOnTimer, "timeOffsetHour", Quantity::kNone, 0, 167},
    Limit{VL_C_SetLaserOnTimer, "timeOffsetMinute", Quantity::kNone, 0, 59},
    Limit{VL_C_SetExternTriggerParams, "minimalTimeDelay", Quantity::kNone, 0, 100000},
    Limit{VL_C_GoPositionHVD, "distance", Quantity::kLength, kNearest, kFarthest},
    Limit{VL_C_PointLaserHVD, "distance", Quantity::kLength, kNearest, kFarthest},
    Limit{VL_C_FindReflector, "approxDist", Quantity::kLength, kNearest, kFarthest},
    Limit{VL_C_LookForTarget, "searchRadius", Quantity::kLength, 0, 1},
    Limit{VL_C_MoveHV, "horizontalSpeed", Quantity::kNone, -100, 100},
    Limit{VL_C_MoveHV, "verticalSpeed", Quantity::kNone, -100, 100},
};

const Limit* find_limit(VL_Command command, std::string_view parameter) {
  const auto name = parameter.substr(0, parameter.find_last_not_of("0123456789") + 1);
  const auto found = std::find_if(kLimits.begin(), kLimits.end(), [&](const Limit& limit) {
    return limit.command == command && limit.parameter == name;
  });
  return found == kLimits.end() ? nullptr : &*found;
}

bool is_value_of(const protocol::TypeRow* enumeration, std::int32_t value) {
  return enumeration == nullptr ||
         std::ranges::any_of(enumeration->values, [value](const auto& each) { return each.value == value; });
}

VL_ResultStatus check(const Request& request, const protocol::Value& field, int number) {
  const bool is_double = field.type == protocol::ValueType::kDouble;
  const double value = is_double ? request.number(field.name) : request.integer(field.name);
  if (!std::isfinite(value)) return wrong_parameter(number);
  if (!is_double && !is_value_of(field.named, request.integer(field.name))) return wrong_parameter(number);
  const Limit* limit = find_limit(request.command(), field.name);
  if (!limit) return VL_RS_AllOK;
  const double base = from_units(limit->quantity, value, request.frame().units());
  if (base < limit->low || base > limit->high) return out_of_range(number);
  if (base < limit->usual_low || base > limit->usual_high) return out_of_range_but_accepted(number);
  return VL_RS_AllOK;
}

}  // namespace

VL_ResultStatus wrong_parameter(int number) {
  return static_cast<VL_ResultStatus>(number <= 7 ? VL_RS_WrongParameter1 + number - 1
                                                  : VL_RS_WrongParameter8 + number - 8);
}

VL_ResultStatus out_of_range(int number) {
  return static_cast<VL_ResultStatus>(number <= 6 ? VL_RS_Parameter1OutOfRangeNOK + 2 * (number - 1)
                                                  : wrong_parameter(number));
}

VL_ResultStatus out_of_range_but_accepted(int number) {
  return static_cast<VL_ResultStatus>(VL_RS_Parameter1OutOfRangeOK + 2 * (number - 1));
}

bool is_accepted(VL_ResultStatus status) {
  return status == VL_RS_AllOK || is_warning(status);
}

VL_ResultStatus check_parameters(const Request& request) {
  VL_ResultStatus warning = VL_RS_AllOK;
  int number = 0;
  for (const protocol::Value& field : request.row().parameters) {
    const VL_ResultStatus status = check(request, field, ++number);
    if (!is_accepted(status)) return status;
    if (warning == VL_RS_AllOK) warning = status;
  }
  return warning;
}

}  // namespace kestrine::simulator
