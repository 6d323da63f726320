// Questions about the system's state, and the settings that need a look before they are stored.
#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "simulator/commands/commands.h"
#include "simulator/tracker/inventory.h"
#include "simulator/tracker/probe.h"
#include "simulator/tracker/world.h"

namespace kestrine::simulator {
namespace {

void get_system_status(Tracker& tracker, const Request&, const Reply& reply) {
  const State& state = tracker.state();
  GetSystemStatusRT answer;
  answer.LastResultStatus = state.last_status;
  answer.trackerProcessorStatus = state.initialised ? VL_TPS_Initialized : VL_TPS_CompensationSet;
  answer.laserStatus = !state.laser_on       ? VL_LPS_LaserOff
                       : state.is_laser_warm ? VL_LPS_LaserReady
                                             : VL_LPS_LaserHeatingUp;
  answer.admStatus = tracker.readiness() == VL_TS_Busy ? VL_AS_ADMBusy : VL_AS_ADMReady;
  answer.vlVersionNumber = {kSoftwareMajor, kSoftwareMinor, kSoftwareBuild};
  answer.weatherMonitorStatus =
      tracker.settings().get<SystemSettingsDataT>(VL_C_SetSystemSettings).weatherMonitorStatus;
  answer.lTrackerSerialNumber = kSerialNumber;
  reply.record(answer);
}

void get_tracker_status(Tracker& tracker, const Request&, const Reply& reply) {
  reply.record(GetTrackerStatusRT{.trackerStatus = tracker.readiness()});
}

void get_measurement_status_info(Tracker& tracker, const Request&, const Reply& reply) {
  const State& state = tracker.state();
  std::int32_t flags = VL_MSI_TrackerFound | VL_MSI_TrackerCompensationFound | VL_MSI_ADMFound |
                       VL_MSI_ADMCompensationFound | VL_MSI_TiltraInWorkingRange;
  if (state.target && state.laser_on) flags |= VL_MSI_ReflectorFound;
  if (state.face == VL_TF_Face1) flags |= VL_MSI_InFace1;
  if (state.initialised) flags |= VL_MSI_Initialized;
  flags |= probe_status_flags(tracker);
  reply.record(GetMeasurementStatusInfoRT{.lMeasurementStatusInfo = flags});
}

// Two of the settings are each client's own wish and change nothing for the others.
void set_system_settings(Tracker& tracker, const Request& request, const Reply& reply) {
  if (const auto client = reply.client()) {
    client->wants_status_changes = request.integer("sendUnsolicitedMessages") != 0;
    client->wants_positions = request.integer("sendReflectorPositionData") != 0;
  }
  const auto present = [&] { return tracker.settings().get<SystemSettingsDataT>(VL_C_SetSystemSettings); };
  const SystemSettingsDataT before = present();
  tracker.change_setting(request, reply);
  if (before.bHasTiltra != present().bHasTiltra) tracker.announce(VL_SSC_TiltraSensorChanged);
  if (before.bHasVideoCamera != present().bHasVideoCamera) tracker.announce(VL_SSC_OverviewCameraChanged);
}

void get_system_settings(Tracker& tracker, const Request&, const Reply& reply) {
  GetSystemSettingsRT answer;
  answer.systemSettings = tracker.settings().get<SystemSettingsDataT>(VL_C_SetSystemSettings);
  if (const auto client = reply.client()) {
    answer.systemSettings.bSendUnsolicitedMessages = client->wants_status_changes;
    answer.systemSettings.bSendReflectorPositionData = client->wants_positions;
  }
  reply.record(answer);
}

// A grid without a step along any axis would never yield a second point.
void set_grid_mode(Tracker& tracker, const Request& request, const Reply& reply) {
  if (request.triple("val1") == Vector{}) return reply.status(VL_RS_Parameter1OutOfRangeNOK);
  tracker.change_setting(request, reply);
}

void set_trigger_source(Tracker& tracker, const Request& request, const Reply& reply) {
  if (request.integer("triggerSource") == VL_TS_Undefined) return reply.status(VL_RS_ProblemSettingTriggerSource);
  tracker.change_setting(request, reply);
  tracker.watch_trigger();
}

// What the system parameters hold after power-on. Those that state a fact cannot be set.
struct Parameter {
  VL_SystemParameter parameter;
  double initial;
  bool can_be_set = true;
  bool is_length = false;
};

constexpr std::array kParameters{
    Parameter{VL_SP_KeepLastPositionFlag, 1},
    Parameter{VL_SP_WeatherMonitorSetting, VL_WMS_NotConnected},
    Parameter{VL_SP_ShowAll6DMeasurements, 0},
    Parameter{VL_SP_LaserPointerCaptureBeam, 0},
    Parameter{VL_SP_DisplayReflectorPosition, 0},
    Parameter{VL_SP_ProbeConfig_Button, VL_PCB_SingleClick},
    Parameter{VL_SP_ProbeConfig_ButtonEvent, VL_PBE_DisableEvents},
    Parameter{VL_SP_ProbeConfig_Tip, VL_PCT_OnlyWithTip},
    Parameter{VL_SP_ProbeConfig_SoundVolume, 1},
    Parameter{VL_SP_ProbeConfig_PowerOffTime, 300},
    Parameter{VL_SP_QuickReleaseStatus, VL_QRS_NotExisting, false},
    Parameter{VL_SP_TcpCommandQueueSize, kCommandQueueSize, false},
    Parameter{VL_SP_SystemMax6DDataRate, kProbeDataRate, false},
    Parameter{VL_SP_TcpDataPacketRate, 10, false},
    Parameter{VL_SP_HoldfastFunctionAvailable, 0, false},
    Parameter{VL_SP_HoldfastFunctionActive, 0, false},
    Parameter{VL_SP_HoldfastMode, VL_PLM_InDoor},
    Parameter{VL_SP_D_TemperatureThreshold, 1},
    Parameter{VL_SP_D_PressureThreshold, 5},
    Parameter{VL_SP_D_HumidityThreshold, 10},
    Parameter{VL_SP_D_SystemLongest3DDistanceIFM, kFarthest, false, true},
    Parameter{VL_SP_D_SystemLongest3DDistanceADM, kFarthest, false, true},
    Parameter{VL_SP_D_SystemLongest6DDistance, kFarthestProbe, false, true},
    Parameter{VL_SP_ControllerBatteryStatus, 100, false},
    Parameter{VL_SP_SensorBatteryStatus, 100, false},
    Parameter{VL_SP_InclinationSensorState, VL_ISS_Off},
    Parameter{VL_SP_ReflectorTiltDetection, 0},
    Parameter{VL_SP_StableProbingTrigger, 0},
    Parameter{VL_SP_TwoFaceAverageMode, 0},
    Parameter{VL_SP_StableProbingCriteriaTime, 500},
    Parameter{VL_SP_PowerOverrideSupported, 0, false},
    Parameter{VL_SP_PowerOverrideEnabled, 0, false},
    Parameter{VL_SP_D_StableProbingCriteriaRegion, 0.0005, true, true},
};

bool is_carried_as_double(std::int32_t parameter) {
  return (parameter >= VL_SP_D_TemperatureThreshold && parameter <= VL_SP_D_SystemLongest6DDistance) ||
         parameter == VL_SP_D_StableProbingCriteriaRegion;
}

// Null when the other kind of command is for that parameter.
const Parameter* find_parameter(std::int32_t parameter, bool as_double) {
  const auto row = std::find_if(kParameters.begin(), kParameters.end(),
                                [&](const Parameter& each) { return each.parameter == parameter; });
  return row == kParameters.end() || is_carried_as_double(parameter) != as_double ? nullptr : &*row;
}

Quantity quantity(const Parameter& row) {
  return row.is_length ? Quantity::kLength : Quantity::kNone;
}

template <bool kAsDouble>
void set_parameter(Tracker& tracker, const Request& request, const Reply& reply) {
  const Parameter* row = find_parameter(request.integer("systemParam"), kAsDouble);
  if (!row) return reply.status(VL_RS_WrongParameter1);
  if (!row->can_be_set) return reply.status(VL_RS_UsageConflict);
  const double value = kAsDouble ? request.number("parameter") : request.integer("parameter");
  tracker.state().system_parameters[row->parameter] = from_units(quantity(*row), value, request.frame().units());
  reply.done();
  if (row->parameter == VL_SP_InclinationSensorState) tracker.announce(VL_SSC_TiltSensorStatusChanged);
}

template <bool kAsDouble>
void get_parameter(Tracker& tracker, const Request& request, const Reply& reply) {
  const Parameter* row = find_parameter(request.integer("systemParam"), kAsDouble);
  if (!row) return reply.status(VL_RS_WrongParameter1);
  const auto& set = tracker.state().system_parameters;
  const auto found = set.find(row->parameter);
  const double value = found == set.end() ? row->initial : found->second;
  if constexpr (kAsDouble) {
    reply.record_as_it_stands(GetDoubleSystemParameterRT{
        .systemParam = row->parameter, .dParameter = to_units(quantity(*row), value, request.frame().units())});
  } else {
    reply.record(
        GetLongSystemParameterRT{.systemParam = row->parameter, .lParameter = static_cast<std::int32_t>(value)});
  }
}

void restore_startup_conditions(Tracker& tracker, const Request&, const Reply& reply) {
  const Settings before = std::exchange(tracker.settings(), Settings());
  tracker.state().system_parameters.clear();
  reply.done();
  for (const SettingRow& row : all_settings()) {
    const bool is_other = before.load(row, Frame{}) != tracker.settings().load(row, Frame{});
    if (is_other && row.change != kUnreported) tracker.announce(static_cast<VL_SystemStatusChange>(row.change));
  }
}

// What still waits in the client's queue is cleared where the queue is; here there is nothing left to do.
void clear_command_queue(Tracker&, const Request&, const Reply& reply) {
  reply.done();
}

constexpr Handler kHandlers[]{
    {VL_C_GetSystemStatus, Needs::kNothing, get_system_status},
    {VL_C_GetTrackerStatus, Needs::kNothing, get_tracker_status},
    {VL_C_GetMeasurementStatusInfo, Needs::kNothing, get_measurement_status_info},
    {VL_C_SetSystemSettings, Needs::kNothing, set_system_settings},
    {VL_C_GetSystemSettings, Needs::kNothing, get_system_settings},
    {VL_C_SetTriggerSource, Needs::kNothing, set_trigger_source},
    {VL_C_SetGridModeParams, Needs::kNothing, set_grid_mode},
    {VL_C_SetLongSystemParameter, Needs::kNothing, set_parameter<false>},
    {VL_C_GetLongSystemParameter, Needs::kNothing, get_parameter<false>},
    {VL_C_SetDoubleSystemParameter, Needs::kNothing, set_parameter<true>},
    {VL_C_GetDoubleSystemParameter, Needs::kNothing, get_parameter<true>},
    {VL_C_RestoreStartupConditions, Needs::kNothing, restore_startup_conditions},
    {VL_C_ClearCommandQueue, Needs::kNothing, clear_command_queue},
};

}  // namespace

std::span<const Handler> status_handlers() {
  return kHandlers;
}

}  // namespace kestrine::simulator
