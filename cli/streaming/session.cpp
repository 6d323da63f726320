#include "cli/streaming/session.h"

#include <chrono>
#include <utility>

#include "cli/common/connect.h"
#include "cli/common/failure.h"
#include "cli/common/terminal.h"

namespace kestrine::cli {
namespace {

constexpr std::chrono::milliseconds kSlice{50};
constexpr std::chrono::milliseconds kShortSlice{10};
constexpr double kLongestAnswer = 10;      // seconds
constexpr double kLongestInitialise = 60;  // with a search for the reflector
constexpr double kLongestClosing = 2;      // without a word of the tracker
constexpr double kClosingInSilence = 0.03;

}  // namespace

StreamSession::StreamSession(const Endpoint& endpoint, Measurement& measurement, Record& record)
    : measurement_(measurement), connection_(connect(endpoint)) {
  commands_ = command_async(*connection_);
  events_ = Pointer<StreamEvents>::adopt(new StreamEvents(*connection_, measurement, record));
  subscription_ = Subscription(*commands_, DIID__ILTCommandAsyncEvents, *events_);
}

StreamSession::~StreamSession() {
  restore_settings();
  subscription_.end();
  commands_.reset();
  connection_->DisconnectEmbeddedSystem();
}

void StreamSession::call(VL_Command command, HRESULT sent, Patience patience) {
  if (FAILED(sent)) throw Failure(text_of(take_error(sent)));
  events_->awaited = command;
  Stopwatch watch;
  double longest = command == VL_C_Initialize ? kLongestInitialise : kLongestAnswer;
  if (patience == Patience::kClosing) longest = silent_ ? kClosingInSilence : kLongestClosing;
  std::size_t packets = state().reception.packets;
  while (events_->awaited) {
    if (!state().failure.empty()) throw Failure(state().failure);
    const bool stopped = patience == Patience::kUntilStopped && terminal::stop_asked();
    silent_ |= stopped || watch.seconds() > longest;
    if (stopped) throw Stopped();
    if (watch.seconds() > longest) throw Failure("the tracker does not answer command " + std::to_string(command));
    host::run_for(patience == Patience::kClosing ? kShortSlice : kSlice);
    if (patience == Patience::kClosing && std::exchange(packets, state().reception.packets) != packets) watch = {};
  }
  silent_ = false;
}

void StreamSession::prepare() {
  call(VL_C_SetUnits, commands_->SetUnits(measurement_.unit->code, VL_AU_Degree, VL_TU_Celsius, VL_PU_Mbar, VL_HU_RH));
  call(VL_C_Initialize, commands_->Initialize());
  call(VL_C_GetTrackerInfo, commands_->GetTrackerInfo());
  call(VL_C_GetSystemSoftwareVersion, commands_->GetSystemSoftwareVersion());
  call(VL_C_SetCoordinateSystemType, commands_->SetCoordinateSystemType(VL_CS_RHR));
  ask_for_unsolicited_messages();
}

// Only who asks for unsolicited messages is sent the one that all points have been measured.
void StreamSession::ask_for_unsolicited_messages() {
  call(VL_C_GetSystemSettings, commands_->GetSystemSettings());
  if (events_->system_settings.bSendUnsolicitedMessages != 0) return;
  settings_changed_ = true;
  call(VL_C_SetSystemSettings, set_unsolicited_messages(true));
}

void StreamSession::restore_settings() {
  if (!settings_changed_ || state().lost) return;
  try {
    events_->state.failure.clear();
    call(VL_C_SetSystemSettings, set_unsolicited_messages(false), Patience::kClosing);
  } catch (const std::exception& error) {
    terminal::print_error(std::string("the tracker's system settings could not be put back: ") + error.what());
  }
}

HRESULT StreamSession::set_unsolicited_messages(bool wanted) {
  const SystemSettingsDataT& found = events_->system_settings;
  const auto flag = [](std::int32_t value) { return value != 0 ? VARIANT_TRUE : VARIANT_FALSE; };
  return commands_->SetSystemSettings(
      found.weatherMonitorStatus, flag(found.bApplyTransformationParams), flag(found.bApplyStationOrientationParams),
      flag(found.bKeepLastPosition), flag(wanted), flag(found.bSendReflectorPositionData),
      flag(found.bTryMeasurementMode), flag(found.bHasTiltra), flag(found.bHasVideoCamera));
}

void StreamSession::set_mode(const StreamOptions& options) {
  const auto statistics = options.common.extended ? VL_SM_Extended : VL_SM_Standard;
  call(VL_C_SetStatisticMode, commands_->SetStatisticMode(statistics, statistics));
  // The camera measures the probe only in this mode, not while it shows an overview.
  if (options.probe) {
    call(VL_C_SetMeasurementCameraMode, commands_->SetMeasurementCameraMode(VL_MCM_Measure));
  }
  const StreamMode& mode = *options.mode;
  call(VL_C_SetMeasurementMode, commands_->SetMeasurementMode(options.probe ? mode.of_probe : mode.of_point));
  set_spacing(options);
}

// The probe's modes take the parameters of the modes for a reflector.
void StreamSession::set_spacing(const StreamOptions& options) {
  const auto count = static_cast<std::int32_t>(options.count);
  const VARIANT_BOOL fixed = options.radius > 0 ? VARIANT_TRUE : VARIANT_FALSE;
  switch (options.mode->of_point) {
    case VL_MM_ContinuousDistance:
      return call(VL_C_SetContinuousDistanceModeParams,
                  commands_->SetContinuousDistanceModeParams(options.separation, count, VARIANT_FALSE, VL_RT_Sphere));
    case VL_MM_Grid:
      return call(VL_C_SetGridModeParams,
                  commands_->SetGridModeParams(options.cell[0], options.cell[1], options.cell[2], count, VARIANT_FALSE,
                                               VL_RT_Sphere));
    case VL_MM_SphereCenter:
      return call(VL_C_SetSphereCenterModeParams,
                  commands_->SetSphereCenterModeParams(options.separation, count, fixed, options.radius));
    case VL_MM_CircleCenter:
      return call(VL_C_SetCircleCenterModeParams,
                  commands_->SetCircleCenterModeParams(options.separation, count, fixed, options.radius));
    default:
      return call(VL_C_SetContinuousTimeModeParams,
                  commands_->SetContinuousTimeModeParams(options.time_separation, count, VARIANT_FALSE, VL_RT_Sphere));
  }
}

void StreamSession::start(bool probe) {
  events_->state.count_reached = false;  // of a measurement before this one
  const HRESULT sent =
      probe ? commands_->StartContinuousProbeMeasurement() : commands_->StartContinuousPointMeasurement();
  call(VL_C_StartMeasurement, sent);
}

void StreamSession::stop() {
  events_->state.failure.clear();
  call(VL_C_StopMeasurement, commands_->StopContinuousMeasurement(), Patience::kClosing);
}

}  // namespace kestrine::cli
