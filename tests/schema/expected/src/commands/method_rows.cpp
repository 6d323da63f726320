// The operations of both command sets as rows.
#include "commands/method_rows.h"

namespace kestrine::commands {

namespace {

constexpr Param kSync_SetSpeed[] = {
    {"speed", "double", ParamType::kDouble, false, 12, 0},
    {"fast", "bool", ParamType::kBool, false, 20, 0},
};

constexpr Param kSync_SetSpeedEx[] = {
    {"data", "SpeedT", ParamType::kRecord, false, 12, 12},
};

constexpr Param kSync_GetSpeed[] = {
    {"speed", "double", ParamType::kDouble, true, 16, 0},
    {"fast", "bool", ParamType::kBool, true, 24, 0},
};

constexpr Param kSync_GetSpeedEx[] = {
    {"data", "SpeedT", ParamType::kRecord, true, 16, 12},
};

constexpr Param kSync_MeasureEx[] = {
    {"result", "BlockT", ParamType::kRecord, true, 0, 28},
};

constexpr Param kSync_UseSlowness[] = {
    {"on", "bool", ParamType::kBool, false, 0, 0},
};

constexpr MethodRow kSyncMethods[] = {
    {1, "SetSpeed", 1, Family::kPlain, WaitClass::kStandard, false, Source::kNone, -1, kSync_SetSpeed},
    {2, "SetSpeedEx", 1, Family::kPlain, WaitClass::kFind, true, Source::kNone, -1, kSync_SetSpeedEx},
    {3, "GetSpeed", 2, Family::kPlain, WaitClass::kStandard, false, Source::kAnswer, -1, kSync_GetSpeed},
    {4, "GetSpeedEx", 2, Family::kPlain, WaitClass::kAtrCompensation, false, Source::kAnswer, -1, kSync_GetSpeedEx},
    {5, "GetNames", 4, Family::kSendOnly, WaitClass::kNone, false, Source::kNone, -1, {}},
    {6, "MeasureEx", 2, Family::kStationaryPoint, WaitClass::kStandard, false, Source::kMeasurement, 3, kSync_MeasureEx},
    {7, "UseSlowness", -1, Family::kProperty, WaitClass::kNone, false, Source::kNone, -1, kSync_UseSlowness},
};

constexpr Param kAsync_SetSpeed[] = {
    {"speed", "double", ParamType::kDouble, false, 12, 0},
    {"fast", "bool", ParamType::kBool, false, 20, 0},
};

constexpr MethodRow kAsyncMethods[] = {
    {1, "SetSpeed", 1, Family::kPlain, WaitClass::kNone, false, Source::kNone, -1, kAsync_SetSpeed},
    {2, "GoSlow", 1, Family::kMove, WaitClass::kNone, false, Source::kNone, -1, {}},
};

}  // namespace

std::span<const MethodRow> sync_methods() { return kSyncMethods; }
std::span<const MethodRow> async_methods() { return kAsyncMethods; }

}  // namespace kestrine::commands
