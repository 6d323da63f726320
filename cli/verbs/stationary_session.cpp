#include "cli/verbs/stationary_session.h"

#include <string>

#include "cli/common/connect.h"
#include "cli/common/failure.h"
#include "cli/common/terminal.h"

namespace kestrine::cli {

class StationarySession::StatusListener : public SyncEvents {
 public:
  std::string lost;  // what ended the connection; empty while nothing has

  void StatusChangeEvent(VL_SystemStatusChange change) override {
    if (lost.empty()) lost = lost_connection_text(change);
  }
};

StationarySession::StationarySession(const Endpoint& endpoint) : connection_(connect(endpoint)) {
  commands_ = command_sync(*connection_);
  listener_ = Pointer<StatusListener>::adopt(new StatusListener);
  subscription_ = Subscription(*commands_, DIID__ILTCommandSyncEvents, *listener_);
}

StationarySession::~StationarySession() {
  subscription_.end();
  commands_.reset();
  connection_->DisconnectEmbeddedSystem();
}

void StationarySession::call(HRESULT status) {
  if (check(status) == S_FALSE) terminal::print_error(take_error(status).what());
}

void StationarySession::throw_if_lost() const {
  if (!listener_->lost.empty()) throw Failure(listener_->lost);
}

void StationarySession::prepare(const LengthUnit& unit) {
  call(commands_->SetUnits(unit.code, VL_AU_Degree, VL_TU_Celsius, VL_PU_Mbar, VL_HU_RH));
  call(commands_->Initialize());
}

Tracker StationarySession::identify() {
  Tracker tracker;
  Text name;
  VL_LTSensorType type{};
  VL_TrkAccuracyModel accuracy{};
  std::int32_t compensation = 0, faces = 0, major = 0, minor = 0;
  VARIANT_BOOL adm = 0, camera = 0, tiltra = 0;
  double mount_offset = 0, horizontal = 0, vertical = 0;
  call(commands_->GetTrackerInfo(&type, name.put(), &tracker.serial_number, &compensation, &adm, &camera, &tiltra,
                                 &mount_offset, &tracker.max_distance, &tracker.min_distance, &tracker.max_rate, &faces,
                                 &horizontal, &vertical, &accuracy, &major, &minor));
  tracker.name = name.utf8();
  Text software;
  call(commands_->GetSystemSoftwareVersion(software.put()));
  tracker.software = software.utf8();
  return tracker;
}

void StationarySession::set_mode(std::int32_t measure_time, bool extended) {
  const auto statistics = extended ? VL_SM_Extended : VL_SM_Standard;
  call(commands_->SetCoordinateSystemType(VL_CS_RHR));
  call(commands_->SetStatisticMode(statistics, statistics));
  call(commands_->SetMeasurementMode(VL_MM_Stationary));
  call(commands_->SetStationaryModeParams(measure_time, VARIANT_FALSE));
}

Point StationarySession::measure_point(bool extended) {
  const auto point_of = [](const auto& result) {
    Point point;
    point.position = {result.dVal1, result.dVal2, result.dVal3};
    if (!has_position(point)) throw Failure("the tracker sent a point without a position");
    point.deviation = {result.dStd1, result.dStd2, result.dStd3};
    point.deviation_total = result.dStdTotal;
    if constexpr (requires { result.dCovar12; }) {
      point.covariance = {result.dCovar12, result.dCovar13, result.dCovar23};
    }
    point.temperature = result.dTemperature;
    point.pressure = result.dPressure;
    point.humidity = result.dHumidity;
    return point;
  };
  if (extended) {
    SingleMeasResult2T result{};
    call(commands_->MeasureStationaryPoint2Ex(&result));
    return point_of(result);
  }
  SingleMeasResultT result{};
  call(commands_->MeasureStationaryPointEx(&result));
  return point_of(result);
}

}  // namespace kestrine::cli
