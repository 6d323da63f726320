// What the hardware says about itself, and the hardware that this tracker does not have.
#include <algorithm>
#include <array>
#include <numbers>

#include "simulator/handlers.h"
#include "simulator/inventory.h"
#include "simulator/packets.h"
#include "simulator/still_image.h"
#include "simulator/tracker.h"

namespace kestrine::simulator {
namespace {

constexpr std::u16string_view kTrackerName = u"Simulated tracker";
constexpr double kDegree = std::numbers::pi / 180;
constexpr std::int32_t kReadingsPerSecond = 1000;

void get_tracker_info(Tracker&, const Request&, const Reply& reply) {
  GetTrackerInfoRT answer;
  answer.trackerType = VL_LTS_Model12;
  set_text(answer.cTrackerName, kTrackerName);
  answer.lSerialNumber = kSerialNumber;
  answer.lCompensationIdNumber = 1;
  answer.bHasADM = 1;
  answer.bHasTiltra = 1;
  answer.dTiltraMountOffset = 0.1;
  answer.dMaxDistance = kFarthest;
  answer.dMinDistance = kNearest;
  answer.iMaxDataRate = kReadingsPerSecond;
  answer.iNumberOfFaces = 2;
  answer.dHzAngleRange = 470 * kDegree;
  answer.dVtAngleRange = kLowest - kHighest;
  answer.accuracyModel = VL_TAM_2005;
  answer.iMajLCPFirmwareVersion = 2;
  answer.iMinLCPFirmwareVersion = 10;
  reply.record(answer);
}

void get_adm_info(Tracker&, const Request&, const Reply& reply) {
  GetADMInfoRT answer;
  answer.iFirmwareMajorVersionNumber = 4;
  answer.iFirmwareMinorVersionNumber = 2;
  answer.lSerialNumber = kSerialNumber + 1;
  reply.record(answer);
}

void get_adm_info2(Tracker& tracker, const Request&, const Reply& reply) {
  GetADMInfo2RT answer;
  answer.admType = VL_AMT_Model2;
  set_text(answer.cADMName, u"Simulated distance meter");
  answer.lSerialNumber = kSerialNumber + 1;
  answer.iFirmwareMajorVersionNumber = 4;
  answer.iFirmwareMinorVersionNumber = 2;
  answer.dMaxDistance = kFarthest;
  answer.dMinDistance = kNearest;
  answer.iMaxDataRate = kReadingsPerSecond;
  answer.dAccuracyADMDistance = tracker.noise().figures().along;
  reply.record(answer);
}

void get_tp_info(Tracker&, const Request&, const Reply& reply) {
  GetTPInfoRT answer;
  answer.iTPBootMajorVersionNumber = 1;
  answer.iTPBootMinorVersionNumber = 4;
  answer.iTPFirmwareMajorVersionNumber = 6;
  answer.iTPFirmwareMinorVersionNumber = 20;
  answer.iLCPFirmwareMajorVersionNumber = 2;
  answer.iLCPFirmwareMinorVersionNumber = 10;
  answer.trackerprocessorType = VL_TT_Model20;
  answer.microProcessorType = VL_TPM_PXA250;
  answer.iMicroProcessorClockSpeed = 400;
  answer.laserTrackerSensorType = VL_LTS_Model12;
  reply.record(answer);
}

void get_korv_info(Tracker& tracker, const Request&, const Reply& reply) {
  const NoiseFigures& noise = tracker.noise().figures();
  GetKorvInfoRT answer;
  answer.trackerType = VL_LTS_Model12;
  set_text(answer.cTrackerName, kTrackerName);
  answer.lSerialNumber = kSerialNumber;
  answer.lMajorFirmwareVersion = 6;
  answer.lMinorFirmwareVersion = 20;
  answer.lProcessorBoardFWBuildNumber = 114;
  answer.lSensorBoardFWBuildNumber = 87;
  answer.lMajorOSVersion = 5;
  answer.lMajorServerSoftwareVersion = kSoftwareMajor;
  answer.lMinorServerSoftwareVersion = kSoftwareMinor;
  answer.lServerSoftwareBuildNumber = kSoftwareBuild;
  answer.wlanType = VL_WLAN_Model1;
  answer.xscaleType = VL_TPM_PXA250;
  answer.lMinMeasureTime = 100;
  answer.dMinDistance = kNearest;
  answer.dMaxDistance = kFarthest;
  answer.dStdDevDistOffsetADM = noise.along;
  answer.dStdDevAngleOffset = noise.across_offset;
  answer.dStdDevAngleFactor = noise.across_per_metre;
  reply.record(answer);
}

void get_tiltra_info(Tracker&, const Request&, const Reply& reply) {
  GetTiltraInfoRT answer;
  answer.iFirmwareMajorVersionNumber = 1;
  answer.iFirmwareMinorVersionNumber = 6;
  answer.lSerialNumber = kSerialNumber + 2;
  reply.record(answer);
}

void get_tiltra_info2(Tracker&, const Request&, const Reply& reply) {
  GetTiltraInfo2RT answer;
  answer.tiltraType = VL_TLT_Model2;
  set_text(answer.cTiltraName, u"Simulated inclination sensor");
  answer.lSerialNumber = kSerialNumber + 2;
  answer.iFirmwareMajorVersionNumber = 1;
  answer.iFirmwareMinorVersionNumber = 6;
  answer.dMeasurementRange = 2.9e-3;
  answer.dMeasurementAccuracyOffset = 2e-6;
  answer.dMeasurementAccuracyFactor = 0.005;
  reply.record(answer);
}

void get_atr_info(Tracker&, const Request&, const Reply& reply) {
  GetATRInfoRT answer;
  answer.atrType = VL_ATR_Model1;
  set_text(answer.cATRName, u"Simulated target recognition");
  answer.lMajFirmwareVersion = 2;
  answer.lMinFirmwareVersion = 1;
  answer.lBuildFirmwareVersion = 33;
  answer.lHardwareVersion = 3;
  answer.lFPGAVersion = 12;
  answer.dMaxDistance = kFarthest;
  answer.dMinDistance = kNearest;
  answer.dFieldOfView = 20 * kDegree;
  answer.dMaxTrackingSpeed = 4;
  reply.record(answer);
}

void get_meteo_station_info(Tracker&, const Request&, const Reply& reply) {
  GetMeteoStationInfoRT answer;
  answer.meteoStationType = VL_MST_Model1;
  set_text(answer.cIdentifier, u"Simulated weather station");
  answer.iFirmwareMajorVersionNumber = 1;
  answer.iFirmwareMinorVersionNumber = 3;
  reply.record(answer);
}

void get_software_version(Tracker&, const Request&, const Reply& reply) {
  GetSystemSoftwareVersionRT answer;
  set_text(answer.cSoftwareVersion, kSoftwareVersion);
  reply.record(answer);
}

void get_diagnostics(Tracker& tracker, const Request&, const Reply& reply) {
  GetTrackerDiagnosticsRT answer;
  answer.dTrkPhotoSensorXVal = 0.012;
  answer.dTrkPhotoSensorYVal = -0.008;
  answer.dTrkPhotoSensorIVal = tracker.state().target ? 3.1 : 0;
  answer.dRefPhotoSensorIVal = tracker.state().laser_on ? 2.4 : 0;
  answer.dADConverterRange = 5;
  answer.dLaserLightRatio = 0.92;
  answer.iLaserControlMode = 1;
  answer.dSensorInsideTemperature = 27.4;
  answer.iLCPRunTime = 5210;
  answer.iLaserTubeRunTime = 4970;
  reply.record(answer);
}

// The part lies in the same air as the tracker.
void get_object_temperature(Tracker& tracker, const Request&, const Reply& reply) {
  GetObjectTemperatureRT answer;
  answer.dObjectTemperature = tracker.settings().get<EnvironmentDataT>(VL_C_SetEnvironmentParams).dTemperature;
  reply.record(answer);
}

// The system settings say whether the camera that the tracker was delivered with is still on it.
bool has_camera(Tracker& tracker) {
  return tracker.settings().get<SystemSettingsDataT>(VL_C_SetSystemSettings).bHasVideoCamera != 0;
}

// Optics are told in millimetres whatever the units, as cameras' data sheets do.
void get_overview_camera_info(Tracker& tracker, const Request&, const Reply& reply) {
  if (!has_camera(tracker)) return reply.status(VL_RS_NoOVC);
  GetOverviewCameraInfoRT answer;
  answer.cameraType = VL_OCT_Korv_Integrated;
  set_text(answer.cCameraName, u"Simulated overview camera");
  answer.bIsColorCamera = 1;
  answer.dFocalLength = 12;
  answer.dHorizontalChipSize = 4.8;
  answer.dVerticalChipSize = 3.6;
  reply.record(answer);
}

void get_trigger_board_info(Tracker&, const Request&, const Reply& reply) {
  GetTriggerBoardInfoRT answer;
  answer.triggerCardType = VL_TCT_SingleTracker;
  answer.lFPGAVersion = 12;
  answer.lMaxTriggerFrequency = kReadingsPerSecond;
  reply.record(answer);
}

void get_still_image(Tracker& tracker, const Request& request, const Reply& reply) {
  if (!has_camera(tracker)) return reply.status(VL_RS_NoVideoCamera);
  const std::int32_t type = request.integer("imageFileType");
  const Bytes file = type == VL_SI_Jpeg ? jpeg_still() : bitmap_still();
  Bytes values(8 + file.size());
  wire::store_i32(values.data(), type);
  wire::store_i32(values.data() + 4, static_cast<std::int32_t>(file.size()));
  std::copy(file.begin(), file.end(), values.begin() + 8);
  reply.values(values);
}

constexpr std::array kHandlers{
    Handler{VL_C_GetTrackerInfo, Needs::kNothing, get_tracker_info},
    Handler{VL_C_GetADMInfo, Needs::kNothing, get_adm_info},
    Handler{VL_C_GetADMInfo2, Needs::kNothing, get_adm_info2},
    Handler{VL_C_GetTPInfo, Needs::kNothing, get_tp_info},
    Handler{VL_C_GetKorvInfo, Needs::kNothing, get_korv_info},
    Handler{VL_C_GetTiltraInfo, Needs::kNothing, get_tiltra_info},
    Handler{VL_C_GetTiltraInfo2, Needs::kNothing, get_tiltra_info2},
    Handler{VL_C_GetATRInfo, Needs::kNothing, get_atr_info},
    Handler{VL_C_GetMeteoStationInfo, Needs::kNothing, get_meteo_station_info},
    Handler{VL_C_GetSystemSoftwareVersion, Needs::kNothing, get_software_version},
    Handler{VL_C_GetTrackerDiagnostics, Needs::kNothing, get_diagnostics},
    Handler{VL_C_GetTriggerBoardInfo, Needs::kNothing, get_trigger_board_info},
    Handler{VL_C_GetOverviewCameraInfo, Needs::kNothing, get_overview_camera_info},
    Handler{VL_C_GetStillImage, Needs::kNothing, get_still_image},
    Handler{VL_C_GetObjectTemperature, Needs::kNothing, get_object_temperature},
};

}  // namespace

std::span<const Handler> device_handlers() {
  return kHandlers;
}

}  // namespace kestrine::simulator
