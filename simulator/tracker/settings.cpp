#include "simulator/tracker/settings.h"

#include <algorithm>

namespace kestrine::simulator {
namespace {

constexpr std::size_t kAnswerStart = 16;  // where an answer's own fields begin

constexpr std::array kRows{
    SettingRow{VL_C_SetTemperatureRange, VL_C_GetTemperatureRange, VL_SSC_TemperatureRangeChanged},
    SettingRow{VL_C_SetUnits, VL_C_GetUnits, VL_SSC_UnitsChanged},
    SettingRow{VL_C_SetStationOrientationParams, VL_C_GetStationOrientationParams,
               VL_SSC_StationOrientationParamsChanged},
    SettingRow{VL_C_SetTransformationParams, VL_C_GetTransformationParams, VL_SSC_TransformationParamsChanged},
    SettingRow{VL_C_SetBoxRegionParams, VL_C_GetBoxRegionParams, VL_SSC_BoxRegionParamsChanged},
    SettingRow{VL_C_SetSphereRegionParams, VL_C_GetSphereRegionParams, VL_SSC_SphereRegionParamsChanged},
    SettingRow{VL_C_SetEnvironmentParams, VL_C_GetEnvironmentParams, VL_SSC_EnvironmentParamsChanged},
    SettingRow{VL_C_SetRefractionParams, VL_C_GetRefractionParams, VL_SSC_RefractionParamsChanged},
    SettingRow{VL_C_SetMeasurementMode, VL_C_GetMeasurementMode, VL_SSC_MeasurementModeChanged},
    SettingRow{VL_C_SetCoordinateSystemType, VL_C_GetCoordinateSystemType, VL_SSC_CoordinateSystemTypeChanged},
    SettingRow{VL_C_SetStationaryModeParams, VL_C_GetStationaryModeParams, VL_SSC_StationaryModeParamsChanged},
    SettingRow{VL_C_SetContinuousTimeModeParams, VL_C_GetContinuousTimeModeParams,
               VL_SSC_ContinuousTimeModeParamsChanged},
    SettingRow{VL_C_SetContinuousDistanceModeParams, VL_C_GetContinuousDistanceModeParams,
               VL_SSC_ContinuousDistanceModeParamsChanged},
    SettingRow{VL_C_SetSphereCenterModeParams, VL_C_GetSphereCenterModeParams, VL_SSC_SphereCenterModeParamsChanged},
    SettingRow{VL_C_SetCircleCenterModeParams, VL_C_GetCircleCenterModeParams, VL_SSC_CircleCenterModeParamsChanged},
    SettingRow{VL_C_SetGridModeParams, VL_C_GetGridModeParams, VL_SSC_GridModeParamsChanged},
    SettingRow{VL_C_SetReflector, VL_C_GetReflector, VL_SSC_ReflectorChanged},
    SettingRow{VL_C_SetSearchParams, VL_C_GetSearchParams, VL_SSC_SearchParamsChanged},
    SettingRow{VL_C_SetAdmParams, VL_C_GetAdmParams, VL_SSC_AdmParamsChanged},
    SettingRow{VL_C_SetSystemSettings, VL_C_GetSystemSettings, VL_SSC_SystemSettingsChanged},
    SettingRow{VL_C_SetTransformationInputParams, VL_C_GetTransformationInputParams, kUnreported},
    SettingRow{VL_C_SetCompensation, VL_C_GetCompensation, VL_SSC_CompensationChanged},
    SettingRow{VL_C_SetStatisticMode, VL_C_GetStatisticMode, VL_SSC_StatisticModeChanged},
    SettingRow{VL_C_SetCameraParams, VL_C_GetCameraParams, VL_SSC_CameraParamsChanged},
    SettingRow{VL_C_SetLaserOnTimer, VL_C_GetLaserOnTimer, kUnreported},
    SettingRow{VL_C_SetTriggerSource, VL_C_GetTriggerSource, VL_SSC_TriggerSourceChanged},
    SettingRow{VL_C_SetMeasurementCameraMode, VL_C_GetMeasurementCameraMode, VL_SSC_MeasurementCameraModeChanged},
    SettingRow{VL_C_SetVizetToTrackerCompensation, VL_C_GetVizetToTrackerCompensation,
               VL_SSC_VizetToTrackerCompensationChanged},
    SettingRow{VL_C_SetProbeCompensation, VL_C_GetProbeCompensation, VL_SSC_ProbeCompensationChanged},
    SettingRow{VL_C_SetExternTriggerParams, VL_C_GetExternTriggerParams, VL_SSC_ExternTriggerParamsChanged},
};

}  // namespace

std::span<const SettingRow> all_settings() {
  return kRows;
}

const SettingRow* find_setting(std::int32_t command) {
  const auto row = std::find_if(kRows.begin(), kRows.end(),
                                [&](const SettingRow& r) { return r.set == command || r.get == command; });
  return row == kRows.end() ? nullptr : &*row;
}

Settings::Settings() {
  for (const SettingRow& row : kRows) {
    const std::size_t size = protocol::find_command(row.get)->answer->size - kAnswerStart;
    stored_[row.set] = {Bytes(size), Frame{}};
  }
  put(VL_C_SetTemperatureRange, VL_TR_Automatic);
  put(VL_C_SetTransformationParams, TransformationDataT{.dScale = 1});
  put(VL_C_SetBoxRegionParams, BoxRegionDataT{1, -1, -1, 3, 1, 1});
  put(VL_C_SetSphereRegionParams, SphereRegionDataT{2, 0, 0, 1});
  put(VL_C_SetEnvironmentParams, EnvironmentDataT{20, 1013.25, 50});
  put(VL_C_SetRefractionParams, RefractionDataT{1.000271, 1.000280});
  put(VL_C_SetStationaryModeParams, StationaryModeDataT{1500, 1});
  put(VL_C_SetContinuousTimeModeParams, ContinuousTimeModeDataT{.lTimeSeparation = 10, .lNumberOfPoints = 100});
  put(VL_C_SetContinuousDistanceModeParams,
      ContinuousDistanceModeDataT{.dSpatialDistance = 0.01, .lNumberOfPoints = 100});
  put(VL_C_SetSphereCenterModeParams, SphereCenterModeDataT{.dSpatialDistance = 0.01, .lNumberOfPoints = 100});
  put(VL_C_SetCircleCenterModeParams, CircleCenterModeDataT{.dSpatialDistance = 0.01, .lNumberOfPoints = 100});
  put(VL_C_SetGridModeParams, GridModeDataT{.dVal1 = 0.01, .dVal2 = 0.01, .dVal3 = 0.01, .lNumberOfPoints = 100});
  put(VL_C_SetReflector, 1);
  put(VL_C_SetSearchParams, SearchParamsDataT{0.05, 10000});
  put(VL_C_SetAdmParams, AdmParamsDataT{0.00001, 200, 3});
  put(VL_C_SetSystemSettings,
      SystemSettingsDataT{
          .weatherMonitorStatus = VL_WMS_NotConnected, .bKeepLastPosition = 1, .bHasTiltra = 1, .bHasVideoCamera = 1});
  // Everything is to be found but the scale: of two lists in the same units it is 1.
  put(VL_C_SetTransformationInputParams, TransformationInputDataT{.dScale = 1,
                                                                  .dTransStdVal1 = kUnknown,
                                                                  .dTransStdVal2 = kUnknown,
                                                                  .dTransStdVal3 = kUnknown,
                                                                  .dRotStdVal1 = kUnknown,
                                                                  .dRotStdVal2 = kUnknown,
                                                                  .dRotStdVal3 = kUnknown});
  put(VL_C_SetCompensation, 1);
  put(VL_C_SetVizetToTrackerCompensation, 1);
  put(VL_C_SetProbeCompensation, 1);
  put(VL_C_SetCameraParams, CameraParamsDataT{128, 128, 128});
  put(VL_C_SetTriggerSource, VL_TS_Internal_Application);
  put(VL_C_SetExternTriggerParams, ExternTriggerParamsT{VL_CT_Positive, VL_TM_EventTrigger, VL_TSS_High, 1});
}

void Settings::store(const SettingRow& row, std::span<const std::uint8_t> values, const Frame& frame) {
  stored_[row.set] = {Bytes(values.begin(), values.end()), frame};
}

Bytes Settings::load(const SettingRow& row, const Frame& frame) const {
  const Stored& stored = stored_.at(row.set);
  Bytes answer(kAnswerStart);
  answer.insert(answer.end(), stored.values.begin(), stored.values.end());
  convert(*protocol::find_command(row.get)->answer, answer.data(), stored.frame, frame);
  return Bytes(answer.begin() + kAnswerStart, answer.end());
}

std::int32_t Settings::integer(VL_Command set, std::size_t offset) const {
  return wire::load_i32(stored_.at(set).values.data() + offset);
}

}  // namespace kestrine::simulator
