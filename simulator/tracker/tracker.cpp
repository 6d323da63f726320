#include "simulator/tracker/tracker.h"

#include <utility>

#include "simulator/tracker/probe.h"
#include "simulator/tracker/world.h"

namespace kestrine::simulator {
namespace {

constexpr double kLaserWarming = 3;  // seconds; a real laser tube takes some twenty minutes

Pose pose_of(const auto& data, double scale) {
  return {vector(data.dVal1, data.dVal2, data.dVal3), rotation(vector(data.dRot1, data.dRot2, data.dRot3)), scale};
}

bool refraction_follows_weather(const Settings& settings) {
  return settings.get<SystemSettingsDataT>(VL_C_SetSystemSettings).weatherMonitorStatus ==
         VL_WMS_ReadAndCalculateRefractions;
}

// The refraction indices of air of that weather: standard air's refractivity at 15 degrees and one atmosphere, for red
// laser light and for the distance meter's infrared, carried over by the density. Water vapour takes a little away.
RefractionDataT refraction(const EnvironmentDataT& weather) {
  constexpr double kRed = 276.4e-6;
  constexpr double kInfrared = 274.1e-6;
  const double density = weather.dPressure / 1013.25 * 288.15 / (273.15 + weather.dTemperature);
  const double vapour = 1e-8 * weather.dHumidity;
  return {1 + kRed * density - vapour, 1 + kInfrared * density - vapour};
}

}  // namespace

Tracker::Tracker(const Options& options, Scheduler& scheduler)
    : options_(options),
      scheduler_(scheduler),
      noise_(options.seed),
      drive_(scheduler, to_polar(kBirdBath)),
      action_(scheduler),
      laser_warming_(scheduler),
      trigger_watch_(scheduler) {}

void Tracker::join(std::shared_ptr<Client> client) {
  clients_.push_back(std::move(client));
}

void Tracker::leave(const Client& client) {
  if (measurement_ && measurement_->client().get() == &client) end_measurement();
  std::erase_if(clients_, [&](const auto& each) { return each.get() == &client; });
}

void Tracker::caught_up(const Client& client) {
  if (measurement_ && measurement_->client().get() == &client) measurement_->client_caught_up();
}

Frame Tracker::frame() const {
  const auto units = settings_.get<SystemUnitsDataT>(VL_C_SetUnits);
  const auto system = settings_.get<SystemSettingsDataT>(VL_C_SetSystemSettings);
  Frame frame;
  frame.length = units.lenUnitType;
  frame.angle = units.angUnitType;
  frame.temperature = units.tempUnitType;
  frame.pressure = units.pressUnitType;
  frame.type = settings_.get<VL_CoordinateSystemType>(VL_C_SetCoordinateSystemType);
  if (system.bApplyStationOrientationParams)
    frame.orientation = pose_of(settings_.get<StationOrientationDataT>(VL_C_SetStationOrientationParams), 1);
  if (system.bApplyTransformationParams) {
    const auto data = settings_.get<TransformationDataT>(VL_C_SetTransformationParams);
    frame.transformation = pose_of(data, data.dScale);
  }
  return frame;
}

VL_TrackerStatus Tracker::readiness() const {
  if (action_.running() || measurement_) return VL_TS_Busy;
  if (!state_.initialised) return VL_TS_NotReady;
  const bool is_probe = is_probe_mode(settings_.get<VL_MeasMode>(VL_C_SetMeasurementMode));
  return is_probe && probe_refusal(*this) != VL_RS_AllOK ? VL_TS_6DStatusInvalid : VL_TS_Ready;
}

void Tracker::change_setting(const Request& request, const Reply& reply) {
  const SettingRow& row = *find_setting(request.command());
  const double temperature = settings_.get<EnvironmentDataT>(VL_C_SetEnvironmentParams).dTemperature;
  settings_.store(row, request.parameters(), request.frame());
  reply.done();
  if (row.change != kUnreported) announce(static_cast<VL_SystemStatusChange>(row.change));
  // The part lies in the same air as the tracker.
  if (settings_.get<EnvironmentDataT>(VL_C_SetEnvironmentParams).dTemperature != temperature)
    announce(VL_SSC_ObjectTemperatureChanged);
  if (row.set == VL_C_SetEnvironmentParams && refraction_follows_weather(settings_)) {
    settings_.put(VL_C_SetRefractionParams, refraction(settings_.get<EnvironmentDataT>(VL_C_SetEnvironmentParams)));
    announce(VL_SSC_RefractionParamsChanged);
  }
}

void Tracker::announce(VL_SystemStatusChange change) {
  Bytes packet(RecordTraits<SystemStatusChangeT>::size);
  begin_data_packet(packet, VL_DT_SystemStatusChange, change);
  for (const auto& client : clients_) {
    if (client->wants_status_changes) client->send(packet);
  }
}

void Tracker::report_readiness() {
  const VL_TrackerStatus now = readiness();
  if (std::exchange(reported_readiness_, now) == now) return;
  announce(now == VL_TS_Busy              ? VL_SSC_MeasStatus_Busy
           : now == VL_TS_Ready           ? VL_SSC_MeasStatus_Ready
           : now == VL_TS_6DStatusInvalid ? VL_SSC_MeasStatus_6DStatusInvalid
                                          : VL_SSC_MeasStatus_NotReady);
}

void Tracker::act(double seconds, std::function<void()> done) {
  action_.start(seconds, [this, done = std::move(done)] {
    done();
    report_readiness();
  });
  report_readiness();
}

void Tracker::begin_measurement(std::unique_ptr<Measurement> measurement) {
  measurement_ = std::move(measurement);
  report_readiness();
}

void Tracker::end_measurement() {
  measurement_.reset();
  report_readiness();
}

void Tracker::set_initialised() {
  state_.initialised = true;
  announce(VL_SSC_InitializationStatusChanged);
}

void Tracker::switch_laser(bool is_on) {
  if (std::exchange(state_.laser_on, is_on) == is_on) return;
  laser_warming_.stop();
  state_.is_laser_warm = false;
  if (!is_on) return state_.target.reset();
  announce(VL_SSC_LaserNotStabilized);
  laser_warming_.start(kLaserWarming, [this] {
    state_.is_laser_warm = true;
    announce(VL_SSC_LaserWarmedUp);
  });
}

void Tracker::set_face(VL_TrackerFace face) {
  if (std::exchange(state_.face, face) == face) return;
  announce(face == VL_TF_Face1 ? VL_SSC_IsFace1 : VL_SSC_IsFace2);
}

void Tracker::set_compensating(bool is_compensating) {
  state_.is_compensating = is_compensating;
  announce(is_compensating ? VL_SSC_CompensationModeStart : VL_SSC_CompensationModeEnd);
}

void Tracker::watch_trigger() {
  if (settings_.get<VL_TriggerSource>(VL_C_SetTriggerSource) != VL_TS_External_EventMessage) return;
  // The pulses come by the wall's clock: no time scale makes them a flood.
  trigger_watch_.start(
      kPulseInterval,
      [this] {
        announce(VL_SSC_ExternalTriggerEvent);
        watch_trigger();
      },
      Pace::kWall);
}

void Tracker::lock_on(const Vector& target) {
  drive_.point(to_polar(target));
  state_.target = target;
}

double Tracker::search_radius() const {
  return settings_.get<SearchParamsDataT>(VL_C_SetSearchParams).dSearchRadius;
}

bool Tracker::find_target(const Vector& place, double radius) {
  drive_.point(to_polar(place));
  const auto target = state_.laser_on ? target_near(place, radius) : std::nullopt;
  if (target) lock_on(*target);
  return target.has_value();
}

void Tracker::restart() {
  announce(VL_SSC_ServerClosing);
  measurement_.reset();
  action_.stop();
  laser_warming_.stop();
  trigger_watch_.stop();
  settings_ = Settings();
  state_ = State();
  drive_.point(to_polar(kBirdBath));
  reported_readiness_ = VL_TS_NotReady;
  for (const auto& client : std::exchange(clients_, {})) client->close();
}

}  // namespace kestrine::simulator
