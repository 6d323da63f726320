// What the hardware says about itself, and the hardware that this tracker does not have.
#include <algorithm>
#include <numbers>

#include "simulator/commands/commands.h"
#include "simulator/commands/still_image.h"
#include "simulator/tracker/inventory.h"
#include "simulator/tracker/world.h"

namespace kestrine::simulator {
namespace {

constexpr double kDegree = std::numbers::pi / 180;
constexpr std::int32_t kReadingsPerSecond = 1000;

constexpr GetTrackerInfoRT kTrackerInfo{.trackerType = VL_LTS_Model12,
                                        .cTrackerName = u"Simulated tracker",
                                        .lSerialNumber = kSerialNumber,
                                        .lCompensationIdNumber = 1,
                                        .bHasADM = 1,
                                        .bHasTiltra = 1,
                                        .dTiltraMountOffset = 0.1,
                                        .dMaxDistance = kFarthest,
                                        .dMinDistance = kNearest,
                                        .iMaxDataRate = kReadingsPerSecond,
                                        .iNumberOfFaces = 2,
                                        .dHzAngleRange = 470 * kDegree,
                                        .dVtAngleRange = kLowest - kHighest,
                                        .accuracyModel = VL_TAM_2005,
                                        .iMajLCPFirmwareVersion = 2,
                                        .iMinLCPFirmwareVersion = 10};

constexpr GetADMInfoRT kAdmInfo{
    .iFirmwareMajorVersionNumber = 4, .iFirmwareMinorVersionNumber = 2, .lSerialNumber = kSerialNumber + 1};

void get_adm_info2(Tracker& tracker, const Request&, const Reply& reply) {
  reply.record(GetADMInfo2RT{.admType = VL_AMT_Model2,
                             .cADMName = u"Simulated distance meter",
                             .lSerialNumber = kSerialNumber + 1,
                             .iFirmwareMajorVersionNumber = 4,
                             .iFirmwareMinorVersionNumber = 2,
                             .dMaxDistance = kFarthest,
                             .dMinDistance = kNearest,
                             .iMaxDataRate = kReadingsPerSecond,
                             .dAccuracyADMDistance = tracker.noise().figures().along});
}

constexpr GetTPInfoRT kTpInfo{.iTPBootMajorVersionNumber = 1,
                              .iTPBootMinorVersionNumber = 4,
                              .iTPFirmwareMajorVersionNumber = 6,
                              .iTPFirmwareMinorVersionNumber = 20,
                              .iLCPFirmwareMajorVersionNumber = 2,
                              .iLCPFirmwareMinorVersionNumber = 10,
                              .trackerprocessorType = VL_TT_Model20,
                              .microProcessorType = VL_TPM_PXA250,
                              .iMicroProcessorClockSpeed = 400,
                              .laserTrackerSensorType = VL_LTS_Model12};

void get_korv_info(Tracker& tracker, const Request&, const Reply& reply) {
  const NoiseFigures& noise = tracker.noise().figures();
  reply.record(GetKorvInfoRT{.trackerType = VL_LTS_Model12,
                             .cTrackerName = u"Simulated tracker",
                             .lSerialNumber = kSerialNumber,
                             .lMajorFirmwareVersion = 6,
                             .lMinorFirmwareVersion = 20,
                             .lProcessorBoardFWBuildNumber = 114,
                             .lSensorBoardFWBuildNumber = 87,
                             .lMajorOSVersion = 5,
                             .lMajorServerSoftwareVersion = kSoftwareMajor,
                             .lMinorServerSoftwareVersion = kSoftwareMinor,
                             .lServerSoftwareBuildNumber = kSoftwareBuild,
                             .wlanType = VL_WLAN_Model1,
                             .xscaleType = VL_TPM_PXA250,
                             .lMinMeasureTime = 100,
                             .dMinDistance = kNearest,
                             .dMaxDistance = kFarthest,
                             .dStdDevDistOffsetADM = noise.along,
                             .dStdDevAngleOffset = noise.across_offset,
                             .dStdDevAngleFactor = noise.across_per_metre});
}

constexpr GetTiltraInfoRT kTiltraInfo{
    .iFirmwareMajorVersionNumber = 1, .iFirmwareMinorVersionNumber = 6, .lSerialNumber = kSerialNumber + 2};

constexpr GetTiltraInfo2RT kTiltraInfo2{.tiltraType = VL_TLT_Model2,
                                        .cTiltraName = u"Simulated inclination sensor",
                                        .lSerialNumber = kSerialNumber + 2,
                                        .iFirmwareMajorVersionNumber = 1,
                                        .iFirmwareMinorVersionNumber = 6,
                                        .dMeasurementRange = 2.9e-3,
                                        .dMeasurementAccuracyOffset = 2e-6,
                                        .dMeasurementAccuracyFactor = 0.005};

constexpr GetATRInfoRT kAtrInfo{.atrType = VL_ATR_Model1,
                                .cATRName = u"Simulated target recognition",
                                .lMajFirmwareVersion = 2,
                                .lMinFirmwareVersion = 1,
                                .lBuildFirmwareVersion = 33,
                                .lHardwareVersion = 3,
                                .lFPGAVersion = 12,
                                .dMaxDistance = kFarthest,
                                .dMinDistance = kNearest,
                                .dFieldOfView = 20 * kDegree,
                                .dMaxTrackingSpeed = 4};

constexpr GetMeteoStationInfoRT kMeteoStationInfo{.meteoStationType = VL_MST_Model1,
                                                  .cIdentifier = u"Simulated weather station",
                                                  .iFirmwareMajorVersionNumber = 1,
                                                  .iFirmwareMinorVersionNumber = 3};

void get_software_version(Tracker&, const Request&, const Reply& reply) {
  GetSystemSoftwareVersionRT answer;
  set_text(answer.cSoftwareVersion, kSoftwareVersion);
  reply.record(answer);
}

void get_diagnostics(Tracker& tracker, const Request&, const Reply& reply) {
  reply.record(GetTrackerDiagnosticsRT{.dTrkPhotoSensorXVal = 0.012,
                                       .dTrkPhotoSensorYVal = -0.008,
                                       .dTrkPhotoSensorIVal = tracker.state().target ? 3.1 : 0,
                                       .dRefPhotoSensorIVal = tracker.state().laser_on ? 2.4 : 0,
                                       .dADConverterRange = 5,
                                       .dLaserLightRatio = 0.92,
                                       .iLaserControlMode = 1,
                                       .dSensorInsideTemperature = 27.4,
                                       .iLCPRunTime = 5210,
                                       .iLaserTubeRunTime = 4970});
}

// The part lies in the same air as the tracker.
void get_object_temperature(Tracker& tracker, const Request&, const Reply& reply) {
  reply.record(GetObjectTemperatureRT{
      .dObjectTemperature = tracker.settings().get<EnvironmentDataT>(VL_C_SetEnvironmentParams).dTemperature});
}

// The system settings say whether the camera that the tracker was delivered with is still on it.
bool has_camera(Tracker& tracker) {
  return tracker.settings().get<SystemSettingsDataT>(VL_C_SetSystemSettings).bHasVideoCamera != 0;
}

// Optics are given in millimetres whatever the units, as cameras' data sheets do.
void get_overview_camera_info(Tracker& tracker, const Request&, const Reply& reply) {
  if (!has_camera(tracker)) return reply.status(VL_RS_NoOVC);
  reply.record(GetOverviewCameraInfoRT{.cameraType = VL_OCT_Korv_Integrated,
                                       .cCameraName = u"Simulated overview camera",
                                       .bIsColorCamera = 1,
                                       .dFocalLength = 12,
                                       .dHorizontalChipSize = 4.8,
                                       .dVerticalChipSize = 3.6});
}

constexpr GetTriggerBoardInfoRT kTriggerBoardInfo{
    .triggerCardType = VL_TCT_SingleTracker, .lFPGAVersion = 12, .lMaxTriggerFrequency = kReadingsPerSecond};

void get_still_image(Tracker& tracker, const Request& request, const Reply& reply) {
  if (!has_camera(tracker)) return reply.status(VL_RS_NoVideoCamera);
  const std::int32_t type = request.integer("imageFileType");
  const Bytes file = type == VL_SI_Jpeg ? jpeg_file(overview_picture()) : bitmap_file(overview_picture());
  Bytes values(8 + file.size());
  wire::store_i32(values.data(), type);
  wire::store_i32(values.data() + 4, static_cast<std::int32_t>(file.size()));
  std::copy(file.begin(), file.end(), values.begin() + 8);
  reply.values(values);
}

template <const auto& kAnswer>
void constant(Tracker&, const Request&, const Reply& reply) {
  reply.record(kAnswer);
}

constexpr Handler kHandlers[]{
    {VL_C_GetTrackerInfo, Needs::kNothing, constant<kTrackerInfo>},
    {VL_C_GetADMInfo, Needs::kNothing, constant<kAdmInfo>},
    {VL_C_GetADMInfo2, Needs::kNothing, get_adm_info2},
    {VL_C_GetTPInfo, Needs::kNothing, constant<kTpInfo>},
    {VL_C_GetKorvInfo, Needs::kNothing, get_korv_info},
    {VL_C_GetTiltraInfo, Needs::kNothing, constant<kTiltraInfo>},
    {VL_C_GetTiltraInfo2, Needs::kNothing, constant<kTiltraInfo2>},
    {VL_C_GetATRInfo, Needs::kNothing, constant<kAtrInfo>},
    {VL_C_GetMeteoStationInfo, Needs::kNothing, constant<kMeteoStationInfo>},
    {VL_C_GetSystemSoftwareVersion, Needs::kNothing, get_software_version},
    {VL_C_GetTrackerDiagnostics, Needs::kNothing, get_diagnostics},
    {VL_C_GetTriggerBoardInfo, Needs::kNothing, constant<kTriggerBoardInfo>},
    {VL_C_GetOverviewCameraInfo, Needs::kNothing, get_overview_camera_info},
    {VL_C_GetStillImage, Needs::kNothing, get_still_image},
    {VL_C_GetObjectTemperature, Needs::kNothing, get_object_temperature},
};

}  // namespace

std::span<const Handler> device_handlers() {
  return kHandlers;
}

}  // namespace kestrine::simulator
