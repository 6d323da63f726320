// The operations of ILTCommandSync as rows.
#include "sync/method_rows.h"

namespace kestrine::sync {

namespace {

constexpr Param kParams_SetSpeed[] = {
    {"speed", "double", ParamType::kDouble, false, 12, 0},
    {"fast", "bool", ParamType::kBool, false, 20, 0},
};

constexpr Param kParams_SetSpeedEx[] = {
    {"data", "SpeedT", ParamType::kRecord, false, 12, 12},
};

constexpr Param kParams_GetSpeed[] = {
    {"speed", "double", ParamType::kDouble, true, 16, 0},
    {"fast", "bool", ParamType::kBool, true, 24, 0},
};

constexpr Param kParams_GetSpeedEx[] = {
    {"data", "SpeedT", ParamType::kRecord, true, 16, 12},
};

constexpr Param kParams_MeasureEx[] = {
    {"result", "BlockT", ParamType::kRecord, true, 0, 28},
};

constexpr Param kParams_UseSlowness[] = {
    {"on", "bool", ParamType::kBool, false, 0, 0},
};

constexpr MethodRow kMethods[] = {
    {1, "SetSpeed", 1, Family::kPlain, WaitClass::kStandard, false, Source::kNone, -1, kParams_SetSpeed},
    {2, "SetSpeedEx", 1, Family::kPlain, WaitClass::kFind, true, Source::kNone, -1, kParams_SetSpeedEx},
    {3, "GetSpeed", 2, Family::kPlain, WaitClass::kStandard, false, Source::kAnswer, -1, kParams_GetSpeed},
    {4, "GetSpeedEx", 2, Family::kPlain, WaitClass::kAtrCompensation, false, Source::kAnswer, -1, kParams_GetSpeedEx},
    {5, "GetNames", 4, Family::kSendOnly, WaitClass::kNone, false, Source::kNone, -1, {}},
    {6, "MeasureEx", 2, Family::kStationaryPoint, WaitClass::kStandard, false, Source::kMeasurement, 3, kParams_MeasureEx},
    {7, "UseSlowness", -1, Family::kProperty, WaitClass::kNone, false, Source::kNone, -1, kParams_UseSlowness},
};

}  // namespace

std::span<const MethodRow> methods() { return kMethods; }

}  // namespace kestrine::sync
