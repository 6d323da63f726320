#include "simulator/tracker.h"

#include <utility>

#include "kestrine/wire.h"
#include "simulator/limits.h"
#include "simulator/modes.h"
#include "simulator/probe_result.h"
#include "simulator/trigger.h"
#include "simulator/weather.h"

namespace kestrine::simulator {
namespace {

constexpr double kPositionInterval = 1.0 / 3;
constexpr double kLaserWarming = 3;  // seconds; a real laser tube takes some twenty minutes

Pose orientation_of(const Settings& settings) {
  const auto data = settings.get<StationOrientationDataT>(VL_C_SetStationOrientationParams);
  return {{data.dVal1, data.dVal2, data.dVal3}, rotation({data.dRot1, data.dRot2, data.dRot3}), 1};
}

Pose transformation_of(const Settings& settings) {
  const auto data = settings.get<TransformationDataT>(VL_C_SetTransformationParams);
  return {{data.dVal1, data.dVal2, data.dVal3}, rotation({data.dRot1, data.dRot2, data.dRot3}), data.dScale};
}

Bytes position_packet(const Frame& frame, const Vector& target) {
  const Vector values = frame.to_outside(target);
  ReflectorPosResultT position;
  position.dVal1 = values.x;
  position.dVal2 = values.y;
  position.dVal3 = values.z;
  Bytes packet = packed(position);
  begin_data_packet(packet, VL_DT_ReflectorPosResult, VL_RS_AllOK);
  return packet;
}

}  // namespace

Tracker::Tracker(const Options& options, Scheduler& scheduler)
    : options_(options),
      scheduler_(scheduler),
      noise_(options.seed),
      drive_(scheduler, to_polar(bird_bath())),
      action_(scheduler),
      position_display_(scheduler),
      laser_warming_(scheduler),
      trigger_watch_(scheduler) {
  position_display_.start(
      kPositionInterval, [this] { show_position(); }, Pace::kWall);
}

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

void Tracker::execute(const std::shared_ptr<Client>& client, Bytes packet) {
  const std::int32_t command = wire::load_i32(packet.data() + 8);
  const protocol::CommandRow* row = protocol::find_command(command);
  const auto complain = [&](std::int32_t about, VL_ResultStatus status) {
    client->send(answer_packet(VL_DT_Error, about, status, RecordTraits<ErrorResponseT>::size));
    client->answered();
  };
  if (wire::load_i32(packet.data() + 4) != VL_DT_Command || !row || row->request_size == 0)
    return complain(VL_C_Unknown, VL_RS_NotImplemented);
  if (packet.size() != row->request_size) return complain(command, VL_RS_WrongParameter);

  const Request request(*row, std::move(packet), frame());
  const Handler* handler = find_handler(command);
  VL_ResultStatus status = handler ? refusal(handler->needs) : VL_RS_AllOK;
  if (status == VL_RS_AllOK) status = check_parameters(request);
  state_.last_status = status;
  const Reply reply(client, *row, request.frame(), is_accepted(status) ? status : VL_RS_AllOK);
  if (!is_accepted(status)) return reply.status(status);
  run(handler, request, reply);
  report_readiness();
}

void Tracker::run(const Handler* handler, const Request& request, const Reply& reply) {
  if (handler) return handler->run(*this, request, reply);
  const std::int32_t command = request.command();
  const SettingRow* setting = find_setting(command);
  if (!setting) return reply.status(VL_RS_NotImplemented);
  if (setting->set == command) return change_setting(*setting, request, reply);
  reply.values(settings_.load(*setting, request.frame()));
}

VL_ResultStatus Tracker::refusal(Needs needs) const {
  if (needs == Needs::kNothing) return VL_RS_AllOK;
  if (!state_.initialised) return VL_RS_TrackerNotInitialized;
  if (needs == Needs::kReady && readiness() == VL_TS_Busy)
    return state_.is_compensating ? VL_RS_InCompensationMode : VL_RS_ServerBusy;
  return VL_RS_AllOK;
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
  if (system.bApplyStationOrientationParams) frame.orientation = orientation_of(settings_);
  if (system.bApplyTransformationParams) frame.transformation = transformation_of(settings_);
  return frame;
}

VL_TrackerStatus Tracker::readiness() const {
  if (action_.running() || measurement_) return VL_TS_Busy;
  if (!state_.initialised) return VL_TS_NotReady;
  const bool is_probe = is_probe_mode(settings_.get<VL_MeasMode>(VL_C_SetMeasurementMode));
  return is_probe && probe_refusal(*this) != VL_RS_AllOK ? VL_TS_6DStatusInvalid : VL_TS_Ready;
}

void Tracker::change_setting(const SettingRow& row, const Request& request, const Reply& reply) {
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
  for (const auto& client : clients_) {
    if (client->wants_status_changes) client->send(status_change_packet(change));
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

void Tracker::show_position() {
  position_display_.start(
      kPositionInterval, [this] { show_position(); }, Pace::kWall);
  if (!state_.initialised || !state_.target) return;
  const bool is_probe = is_probe_mode(settings_.get<VL_MeasMode>(VL_C_SetMeasurementMode));
  const Bytes packet =
      is_probe ? probe_position_packet(*this, *state_.target) : position_packet(frame(), *state_.target);
  for (const auto& client : clients_) {
    // A display is worth nothing late: a client that does not read gets none.
    if (client->wants_positions && client->backlog() == 0) client->send(packet);
  }
}

void Tracker::halt() {
  restart();
  position_display_.stop();
}

void Tracker::restart() {
  announce(VL_SSC_ServerClosing);
  measurement_.reset();
  action_.stop();
  laser_warming_.stop();
  trigger_watch_.stop();
  settings_ = Settings();
  state_ = State();
  drive_.point(to_polar(bird_bath()));
  reported_readiness_ = VL_TS_NotReady;
  for (const auto& client : std::exchange(clients_, {})) client->close();
}

}  // namespace kestrine::simulator
