#include "protocol/requests.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <utility>

#include "kestrine/records.h"
#include "protocol/encode.h"
#include "protocol/tables.h"

namespace kestrine::protocol {
namespace {

std::string hex(const Request& request) {
  std::string text;
  for (std::size_t i = 0; i < request.size; ++i) {
    constexpr char kDigits[] = "0123456789abcdef";
    if (i > 0 && i % 4 == 0) text += ' ';
    text += {kDigits[request.bytes[i] >> 4], kDigits[request.bytes[i] & 15]};
  }
  return text;
}

std::string zeros(int words) {
  std::string text;
  for (int i = 0; i < words; ++i) text += " 00000000";
  return text;
}

TEST(Requests, CarryTheirSizeTheirCodeAndTheirParametersInOrder) {
  // 1.0, 2.0, 0.5 and -1.0 as little-endian doubles.
  const std::string one = " 00000000 0000f03f", two = " 00000000 00000040", half = " 00000000 0000e03f",
                    minus = " 00000000 0000f0bf";
  const std::map<std::string, Request> cases{
      {"0c000000 00000000 07000000", build_Initialize()},
      {"20000000 00000000 05000000 01000000 02000000 00000000 06000000 00000000",
       build_SetUnits(VL_LU_Millimeter, VL_AU_Gon, VL_TU_Celsius, VL_PU_InHg, VL_HU_RH)},
      {"28000000 00000000 37000000" + one + two + half + " 01000000", build_GoPosition(1, 2, 0.5, -1)},
      {"28000000 00000000 4d000000 07000000" + one + two + minus, build_AddDrivePoint(7, 1, 2, -1)},
      {"80000000 00000000 48000000 01000000" + one + zeros(24) + half,
       build_SetTransformationInputParams(VL_TR_AsOrientation, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0.5)},
      {"10000000 00000000 0b000000 01000000", build_SwitchLaser(-1)},
      {"10000000 00000000 0b000000 00000000", build_SwitchLaser(0)},
      {"10000000 00000000 52000000 01000000", build_GetStillImage(VL_SI_Jpeg)},
      {"54000000 00000000 75000000" + one + zeros(14) + two, build_GetErrorEllipsoid(1, 0, 0, 0, 0, 0, 0, 0, 2)},
      {"14000000 00000000 3c000000 9cffffff 64000000", build_MoveHV(-100, 100)},
      {"10000000 00000000 79000000 8c130000", build_GetLongSystemParameter(VL_SP_StableProbingTrigger)},
      {"0c000000 00000000 8c000000", build_GetKorvInfo()},
  };
  for (const auto& [bytes, request] : cases) EXPECT_EQ(hex(request), bytes);
}

TEST(Requests, HaveTwelveBytesAndTheirParameters) {
  const std::map<int, int> longer{
      {3, 16},   {5, 32},   {11, 16},  {12, 60},  {14, 68},  {16, 60},  {18, 44},  {20, 36},  {22, 28},  {24, 16},
      {26, 16},  {28, 20},  {30, 28},  {32, 32},  {34, 36},  {36, 36},  {38, 48},  {40, 16},  {43, 24},  {45, 28},
      {47, 48},  {50, 0},   {55, 40},  {56, 40},  {57, 28},  {58, 36},  {59, 36},  {60, 20},  {61, 16},  {63, 20},
      {64, 0},   {65, 44},  {70, 84},  {71, 84},  {72, 128}, {77, 40},  {79, 16},  {80, 20},  {82, 16},  {83, 24},
      {92, 20},  {94, 40},  {95, 16},  {96, 16},  {101, 16}, {109, 16}, {112, 16}, {115, 28}, {117, 84}, {120, 20},
      {121, 16}, {125, 24}, {126, 16}, {130, 16}, {135, 36}, {137, 16}, {141, 16}};
  ASSERT_EQ(commands().size(), 145u);
  for (int code = 0; code <= 144; ++code) {
    const auto found = longer.find(code);
    EXPECT_EQ(find_command(code)->request_size, found == longer.end() ? 12 : found->second) << code;
  }
  EXPECT_EQ(find_command(-1), nullptr);
  EXPECT_EQ(find_command(145), nullptr);
}

std::int32_t sample_int32(std::size_t index) {
  return static_cast<std::int32_t>(0x01020304 * (index + 1));
}
double sample_double(std::size_t index) {
  return 1.25 * static_cast<double>(index + 1);
}

template <class Parameter>
Parameter sample(std::size_t index) {
  if constexpr (std::is_same_v<Parameter, double>) return sample_double(index);
  return static_cast<Parameter>(sample_int32(index));
}

template <class... Parameters, std::size_t... Index>
Request build_sample(Request (*build)(Parameters...), std::index_sequence<Index...>) {
  return build(sample<Parameters>(Index)...);
}

std::set<std::int32_t> compared;

template <class... Parameters>
void expect_encoder_agrees(Request (*build)(Parameters...)) {
  const Request typed = build_sample(build, std::index_sequence_for<Parameters...>());
  const std::int32_t code = wire::load_i32(&typed.bytes[8]);
  const CommandRow& row = *find_command(code);
  compared.insert(code);
  Request encoded(code, row.request_size);
  ASSERT_EQ(row.parameters.size(), sizeof...(Parameters)) << row.name;
  for (std::size_t i = 0; i < row.parameters.size(); ++i) {
    if (row.parameters[i].type == FieldType::kDouble) {
      encode_parameter(row.parameters[i], sample_double(i), encoded.bytes.data());
    } else {
      encode_parameter(row.parameters[i], sample_int32(i), encoded.bytes.data());
    }
  }
  EXPECT_EQ(hex(encoded), hex(typed)) << row.name;
}

template <class... Builders>
void expect_encoder_agrees_with_each(Builders... builders) {
  (expect_encoder_agrees(builders), ...);
}

TEST(Requests, AreTheSameFromTheRowsAndFromTheTypedBuilders) {
  expect_encoder_agrees_with_each(
      build_SetTemperatureRange, build_SetUnits, build_SwitchLaser, build_SetStationOrientationParams,
      build_SetTransformationParams, build_SetBoxRegionParams, build_SetSphereRegionParams, build_SetEnvironmentParams,
      build_SetRefractionParams, build_SetMeasurementMode, build_SetCoordinateSystemType, build_SetStationaryModeParams,
      build_SetContinuousTimeModeParams, build_SetContinuousDistanceModeParams, build_SetSphereCenterModeParams,
      build_SetCircleCenterModeParams, build_SetGridModeParams, build_SetReflector, build_SetSearchParams,
      build_SetAdmParams, build_SetSystemSettings, build_GoPosition, build_GoPositionHVD, build_PositionRelativeHV,
      build_PointLaser, build_PointLaserHVD, build_MoveHV, build_GoTiltraPosition, build_FindReflector,
      build_LookForTarget, build_AddTransformationNominalPoint, build_AddTransformationActualPoint,
      build_SetTransformationInputParams, build_AddDrivePoint, build_SetCompensation, build_SetStatisticMode,
      build_GetStillImage, build_SetCameraParams, build_SetLaserOnTimer, build_ConvertDisplayCoordinates,
      build_GoBirdBath2, build_SetTriggerSource, build_SetMeasurementCameraMode, build_SetVizetToTrackerCompensation,
      build_SetProbeCompensation, build_SetExternTriggerParams, build_GetErrorEllipsoid, build_SetLongSystemParameter,
      build_GetLongSystemParameter, build_SetDoubleSystemParameter, build_GetDoubleSystemParameter,
      build_ClearCommandQueue, build_GoAndMeasure, build_SetTipAdapter, build_CallATRCompensation);
  for (const CommandRow& row : commands()) EXPECT_EQ(compared.contains(row.code), !row.parameters.empty()) << row.name;
}

TEST(Requests, TakeAnIntegerForADouble) {
  Request request(VL_C_FindReflector, 20);
  encode_parameter(find_command(VL_C_FindReflector)->parameters[0], std::int32_t{2}, request.bytes.data());
  EXPECT_EQ(hex(request), hex(build_FindReflector(2.0)));
}

TEST(Requests, CarryAWholeRecordAsItsParametersWithFlagsMadeZeroOrOne) {
  StationaryModeDataT stationary;
  stationary.lMeasTime = 4000;
  stationary.bUseADM = 0x8000;
  GridModeDataT grid;
  grid.dVal3 = 0.5;
  grid.lNumberOfPoints = 9;
  grid.bUseRegion = -1;
  grid.regionType = VL_RT_Box;
  Request first(VL_C_SetStationaryModeParams, 20);
  encode_record(*find_record("StationaryModeDataT"), &stationary, &first.bytes[12]);
  EXPECT_EQ(hex(first), hex(build_SetStationaryModeParams(4000, 1)));
  Request second(VL_C_SetGridModeParams, 48);
  encode_record(*find_record("GridModeDataT"), &grid, &second.bytes[12]);
  EXPECT_EQ(hex(second), hex(build_SetGridModeParams(0, 0, 0.5, 9, 1, VL_RT_Box)));
}

}  // namespace
}  // namespace kestrine::protocol
