#include "sender_rows.h"

#include "typed_call.h"

namespace kestrine::test {
namespace {

using Senders = ILTCommandAsync;

template <class Parameter>
constexpr char kLetter = std::is_same_v<Parameter, double>         ? 'd'
                         : std::is_same_v<Parameter, VARIANT_BOOL> ? 'b'
                                                                   : 'l';

template <class... Parameters>
std::string types_of(HRESULT (Senders::*)(Parameters...)) {
  return {kLetter<Parameters>...};
}

template <class... Parameters>
TypedCall call_member(Senders& commands, HRESULT (Senders::*member)(Parameters...), std::mt19937& random) {
  const std::set<std::size_t> no_records;
  TypedCall call;
  std::tuple<Slot<Parameters>...> slots;
  std::apply(
      [&](auto&... slot) {
        (slot.fill({random, no_records, call}), ...);
        call.result = (commands.*member)(slot.pass()...);
      },
      slots);
  return call;
}

// A pointer to a virtual member begins with the offset of its entry in the table; some machines mark that with the
// lowest bit.
template <auto Member>
std::size_t slot_of() {
  auto member = Member;
  std::uintptr_t offset = 0;
  std::memcpy(&offset, &member, sizeof offset);
  return (offset & ~std::uintptr_t{1}) / sizeof(void*);
}

template <auto Member>
constexpr Sender kSender = {
    [](Senders& commands, std::mt19937& random) { return call_member(commands, Member, random); },
    slot_of<Member>,
    [] { return types_of(Member); },
};

constexpr SenderRow kRows[] = {
    {"Initialize", 7, "", kSender<&Senders::Initialize>},
    {"ReleaseMotors", 8, "", kSender<&Senders::ReleaseMotors>},
    {"ActivateCameraView", 9, "", kSender<&Senders::ActivateCameraView>},
    {"Park", 10, "", kSender<&Senders::Park>},
    {"SwitchLaser", 11, "b", kSender<&Senders::SwitchLaser>},
    {"ExitApplication", 0, "", kSender<&Senders::ExitApplication>},
    {"GoBirdBath", 54, "", kSender<&Senders::GoBirdBath>},
    {"ChangeFace", 53, "", kSender<&Senders::ChangeFace>},
    {"GoPosition", 55, "dddb", kSender<&Senders::GoPosition>},
    {"GoPositionHVD", 56, "dddb", kSender<&Senders::GoPositionHVD>},
    {"PositionRelativeHV", 57, "dd", kSender<&Senders::PositionRelativeHV>},
    {"PointLaser", 58, "ddd", kSender<&Senders::PointLaser>},
    {"PointLaserHVD", 59, "ddd", kSender<&Senders::PointLaserHVD>},
    {"FindReflector", 63, "d", kSender<&Senders::FindReflector>},
    {"StartTiltraMeasurement", 51, "", kSender<&Senders::StartTiltraMeasurement>},
    {"StartContinuousPointMeasurement", 49, "", kSender<&Senders::StartContinuousPointMeasurement>},
    {"StartContinuousProbeMeasurement", 49, "", kSender<&Senders::StartContinuousProbeMeasurement>},
    {"MeasureStationaryPoint", 49, "", kSender<&Senders::MeasureStationaryPoint>},
    {"MeasureStationaryProbeData", 49, "", kSender<&Senders::MeasureStationaryProbeData>},
    {"StopContinuousMeasurement", 52, "", kSender<&Senders::StopContinuousMeasurement>},
    {"MoveHV", 60, "ll", kSender<&Senders::MoveHV>},
    {"MoveLeft", 60, "", kSender<&Senders::MoveLeft>},
    {"MoveRight", 60, "", kSender<&Senders::MoveRight>},
    {"MoveUp", 60, "", kSender<&Senders::MoveUp>},
    {"MoveDown", 60, "", kSender<&Senders::MoveDown>},
    {"StopMove", 60, "", kSender<&Senders::StopMove>},
    {"GoTiltraPosition", 61, "l", kSender<&Senders::GoTiltraPosition>},
    {"GoLastMeasuredPoint", 62, "", kSender<&Senders::GoLastMeasuredPoint>},
    {"GetSystemStatus", 1, "", kSender<&Senders::GetSystemStatus>},
    {"GetTrackerStatus", 2, "", kSender<&Senders::GetTrackerStatus>},
    {"GetReflectors", 42, "", kSender<&Senders::GetReflectors>},
    {"SetReflector", 40, "l", kSender<&Senders::SetReflector>},
    {"GetReflector", 41, "", kSender<&Senders::GetReflector>},
    {"SetSearchParams", 43, "dl", kSender<&Senders::SetSearchParams>},
    {"GetSearchParams", 44, "", kSender<&Senders::GetSearchParams>},
    {"SetAdmParams", 45, "dll", kSender<&Senders::SetAdmParams>},
    {"GetAdmParams", 46, "", kSender<&Senders::GetAdmParams>},
    {"SetSystemSettings", 47, "lbbbbbbbb", kSender<&Senders::SetSystemSettings>},
    {"GetSystemSettings", 48, "", kSender<&Senders::GetSystemSettings>},
    {"SetUnits", 5, "lllll", kSender<&Senders::SetUnits>},
    {"GetUnits", 6, "", kSender<&Senders::GetUnits>},
    {"SetStationOrientationParams", 12, "dddddd", kSender<&Senders::SetStationOrientationParams>},
    {"GetStationOrientationParams", 13, "", kSender<&Senders::GetStationOrientationParams>},
    {"SetTransformationParams", 14, "ddddddd", kSender<&Senders::SetTransformationParams>},
    {"GetTransformationParams", 15, "", kSender<&Senders::GetTransformationParams>},
    {"SetTemperatureRange", 3, "l", kSender<&Senders::SetTemperatureRange>},
    {"GetTemperatureRange", 4, "", kSender<&Senders::GetTemperatureRange>},
    {"SetEnvironmentParams", 20, "ddd", kSender<&Senders::SetEnvironmentParams>},
    {"GetEnvironmentParams", 21, "", kSender<&Senders::GetEnvironmentParams>},
    {"SetRefractionParams", 22, "dd", kSender<&Senders::SetRefractionParams>},
    {"GetRefractionParams", 23, "", kSender<&Senders::GetRefractionParams>},
    {"SetMeasurementMode", 24, "l", kSender<&Senders::SetMeasurementMode>},
    {"GetMeasurementMode", 25, "", kSender<&Senders::GetMeasurementMode>},
    {"SetBoxRegionParams", 16, "dddddd", kSender<&Senders::SetBoxRegionParams>},
    {"GetBoxRegionParams", 17, "", kSender<&Senders::GetBoxRegionParams>},
    {"SetSphereRegionParams", 18, "dddd", kSender<&Senders::SetSphereRegionParams>},
    {"GetSphereRegionParams", 19, "", kSender<&Senders::GetSphereRegionParams>},
    {"SetStationaryModeParams", 28, "lb", kSender<&Senders::SetStationaryModeParams>},
    {"GetStationaryModeParams", 29, "", kSender<&Senders::GetStationaryModeParams>},
    {"SetGridModeParams", 38, "dddlbl", kSender<&Senders::SetGridModeParams>},
    {"GetGridModeParams", 39, "", kSender<&Senders::GetGridModeParams>},
    {"SetContinuousTimeModeParams", 30, "llbl", kSender<&Senders::SetContinuousTimeModeParams>},
    {"GetContinuousTimeModeParams", 31, "", kSender<&Senders::GetContinuousTimeModeParams>},
    {"SetContinuousDistanceModeParams", 32, "dlbl", kSender<&Senders::SetContinuousDistanceModeParams>},
    {"GetContinuousDistanceModeParams", 33, "", kSender<&Senders::GetContinuousDistanceModeParams>},
    {"SetSphereCenterModeParams", 34, "dlbd", kSender<&Senders::SetSphereCenterModeParams>},
    {"GetSphereCenterModeParams", 35, "", kSender<&Senders::GetSphereCenterModeParams>},
    {"SetCircleCenterModeParams", 36, "dlbd", kSender<&Senders::SetCircleCenterModeParams>},
    {"GetCircleCenterModeParams", 37, "", kSender<&Senders::GetCircleCenterModeParams>},
    {"SetCoordinateSystemType", 26, "l", kSender<&Senders::SetCoordinateSystemType>},
    {"GetCoordinateSystemType", 27, "", kSender<&Senders::GetCoordinateSystemType>},
    {"LookForTarget", 65, "dddd", kSender<&Senders::LookForTarget>},
    {"GetDirection", 66, "", kSender<&Senders::GetDirection>},
    {"CallOrientToGravity", 67, "", kSender<&Senders::CallOrientToGravity>},
    {"ClearTransformationNominalPointList", 68, "", kSender<&Senders::ClearTransformationNominalPointList>},
    {"ClearTransformationActualPointList", 69, "", kSender<&Senders::ClearTransformationActualPointList>},
    {"AddTransformationNominalPoint", 70, "ddddddddd", kSender<&Senders::AddTransformationNominalPoint>},
    {"AddTransformationActualPoint", 71, "ddddddddd", kSender<&Senders::AddTransformationActualPoint>},
    {"SetTransformationInputParams", 72, "ldddddddddddddd", kSender<&Senders::SetTransformationInputParams>},
    {"GetTransformationInputParams", 73, "", kSender<&Senders::GetTransformationInputParams>},
    {"CallTransformation", 74, "", kSender<&Senders::CallTransformation>},
    {"GetTransformedPoints", 75, "", kSender<&Senders::GetTransformedPoints>},
    {"ClearDrivePointList", 76, "", kSender<&Senders::ClearDrivePointList>},
    {"AddDrivePoint", 77, "lddd", kSender<&Senders::AddDrivePoint>},
    {"CallIntermediateCompensation", 78, "", kSender<&Senders::CallIntermediateCompensation>},
    {"SetCompensation", 79, "l", kSender<&Senders::SetCompensation>},
    {"SetStatisticMode", 80, "ll", kSender<&Senders::SetStatisticMode>},
    {"GetStatisticMode", 81, "", kSender<&Senders::GetStatisticMode>},
    {"SetCameraParams", 83, "lll", kSender<&Senders::SetCameraParams>},
    {"GetCameraParams", 84, "", kSender<&Senders::GetCameraParams>},
    {"GetStillImage", 82, "l", kSender<&Senders::GetStillImage>},
    {"GetCompensation", 85, "", kSender<&Senders::GetCompensation>},
    {"GetCompensations", 86, "", kSender<&Senders::GetCompensations>},
    {"GetCompensations2", 123, "", kSender<&Senders::GetCompensations2>},
    {"CheckBirdBath", 87, "", kSender<&Senders::CheckBirdBath>},
    {"GetTrackerDiagnostics", 88, "", kSender<&Senders::GetTrackerDiagnostics>},
    {"GetADMInfo", 89, "", kSender<&Senders::GetADMInfo>},
    {"GetTPInfo", 90, "", kSender<&Senders::GetTPInfo>},
    {"GetTiltraInfo", 91, "", kSender<&Senders::GetTiltraInfo>},
    {"SetLaserOnTimer", 92, "ll", kSender<&Senders::SetLaserOnTimer>},
    {"GetLaserOnTimer", 93, "", kSender<&Senders::GetLaserOnTimer>},
    {"ConvertDisplayCoordinates", 94, "lddd", kSender<&Senders::ConvertDisplayCoordinates>},
    {"GoBirdBath2", 95, "b", kSender<&Senders::GoBirdBath2>},
    {"SetTriggerSource", 96, "l", kSender<&Senders::SetTriggerSource>},
    {"GetTriggerSource", 97, "", kSender<&Senders::GetTriggerSource>},
    {"GetFace", 98, "", kSender<&Senders::GetFace>},
    {"GetCameras", 99, "", kSender<&Senders::GetCameras>},
    {"GetCamera", 100, "", kSender<&Senders::GetCamera>},
    {"SetMeasurementCameraMode", 101, "l", kSender<&Senders::SetMeasurementCameraMode>},
    {"GetMeasurementCameraMode", 102, "", kSender<&Senders::GetMeasurementCameraMode>},
    {"GetProbes", 103, "", kSender<&Senders::GetProbes>},
    {"GetProbe", 104, "", kSender<&Senders::GetProbe>},
    {"GetTipAdapters", 105, "", kSender<&Senders::GetTipAdapters>},
    {"GetTipAdapter", 106, "", kSender<&Senders::GetTipAdapter>},
    {"GetVizetToTrackerCompensations", 107, "", kSender<&Senders::GetVizetToTrackerCompensations>},
    {"SetVizetToTrackerCompensation", 109, "l", kSender<&Senders::SetVizetToTrackerCompensation>},
    {"GetVizetToTrackerCompensation", 108, "", kSender<&Senders::GetVizetToTrackerCompensation>},
    {"GetProbeCompensations", 110, "", kSender<&Senders::GetProbeCompensations>},
    {"SetProbeCompensation", 112, "l", kSender<&Senders::SetProbeCompensation>},
    {"GetProbeCompensation", 111, "", kSender<&Senders::GetProbeCompensation>},
    {"GetTipToProbeCompensations", 113, "", kSender<&Senders::GetTipToProbeCompensations>},
    {"GetTipToProbeCompensation", 114, "", kSender<&Senders::GetTipToProbeCompensation>},
    {"SetExternTriggerParams", 115, "llll", kSender<&Senders::SetExternTriggerParams>},
    {"GetExternTriggerParams", 116, "", kSender<&Senders::GetExternTriggerParams>},
    {"GetErrorEllipsoid", 117, "ddddddddd", kSender<&Senders::GetErrorEllipsoid>},
    {"GetMeasurementCameraInfo", 118, "", kSender<&Senders::GetMeasurementCameraInfo>},
    {"GetMeasurementProbeInfo", 119, "", kSender<&Senders::GetMeasurementProbeInfo>},
    {"SetLongSystemParameter", 120, "ll", kSender<&Senders::SetLongSystemParameter>},
    {"GetLongSystemParameter", 121, "l", kSender<&Senders::GetLongSystemParameter>},
    {"GetMeasurementStatusInfo", 122, "", kSender<&Senders::GetMeasurementStatusInfo>},
    {"GetCurrentPrismPosition", 124, "", kSender<&Senders::GetCurrentPrismPosition>},
    {"SetDoubleSystemParameter", 125, "ld", kSender<&Senders::SetDoubleSystemParameter>},
    {"GetDoubleSystemParameter", 126, "l", kSender<&Senders::GetDoubleSystemParameter>},
    {"GetObjectTemperature", 127, "", kSender<&Senders::GetObjectTemperature>},
    {"GetTriggerBoardInfo", 128, "", kSender<&Senders::GetTriggerBoardInfo>},
    {"GetOverviewCameraInfo", 129, "", kSender<&Senders::GetOverviewCameraInfo>},
    {"ClearCommandQueue", 130, "l", kSender<&Senders::ClearCommandQueue>},
    {"GetADMInfo2", 131, "", kSender<&Senders::GetADMInfo2>},
    {"GetTrackerInfo", 132, "", kSender<&Senders::GetTrackerInfo>},
    {"GetTiltraInfo2", 133, "", kSender<&Senders::GetTiltraInfo2>},
    {"RestoreStartupConditions", 134, "", kSender<&Senders::RestoreStartupConditions>},
    {"GoAndMeasureStationaryPoint", 135, "ddd", kSender<&Senders::GoAndMeasureStationaryPoint>},
    {"GetTipToProbeCompensations2", 136, "", kSender<&Senders::GetTipToProbeCompensations2>},
    {"SetTipAdapter", 137, "l", kSender<&Senders::SetTipAdapter>},
    {"GetATRInfo", 138, "", kSender<&Senders::GetATRInfo>},
    {"GetMeteoStationInfo", 139, "", kSender<&Senders::GetMeteoStationInfo>},
    {"GetKorv4xxInfo", 140, "", kSender<&Senders::GetKorv4xxInfo>},
    {"CallATRCompensation", 141, "l", kSender<&Senders::CallATRCompensation>},
    {"GetSystemSoftwareVersion", 142, "", kSender<&Senders::GetSystemSoftwareVersion>},
    {"CallInclinationSensorCompensation", 143, "", kSender<&Senders::CallInclinationSensorCompensation>},
    {"GetKorvInfo", 140, "", kSender<&Senders::GetKorvInfo>},
    {"SystemPowerDown", 144, "", kSender<&Senders::SystemPowerDown>},
};

}  // namespace

std::span<const SenderRow> sender_rows() {
  return kRows;
}

}  // namespace kestrine::test
