// Takes everything that a tracker sends to an application that never waits in a call: answers, results, errors.
#pragma once

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

#include "cli/common/failure.h"
#include "cli/common/terminal.h"
#include "cli/output/record.h"
#include "cli/points/completeness.h"
#include "cli/points/measurement.h"
#include "cli/points/packets.h"
#include "kestrine/kestrine.h"

namespace kestrine::cli {

// How a stream is getting on.
struct StreamState {
  std::string failure;         // why nothing more will come; empty while it may
  bool lost = false;           // whether the reason is that the connection has ended
  bool count_reached = false;  // the tracker has measured all that it was asked for; the last may be on its way
  Reception reception;
};

// An answer, a failure, a centre and a reached count end the running run_for(), so that they are noticed at once.
// Blocks only add up: what has come is looked at when a slice of the loop is over.
class StreamEvents : public AsyncEvents {
 public:
  // All three outlive the sink's subscription.
  StreamEvents(ILTConnect& connection, Measurement& measurement, Record& record)
      : connection_(connection), measurement_(measurement), record_(record) {}

  StreamState state;
  std::optional<VL_Command> awaited;  // until its answer has come
  SystemSettingsDataT system_settings{};

  void CommandCompletedData(VL_Command command) override { answer(command); }

  void ErrorEvent(VL_Command command, VL_ResultStatus status) override {
    // The library leaves its report of the error behind before it fires the event.
    const Error error = take_error(S_FALSE);
    if (!is_warning(status)) return fail(text_of(error));
    terminal::print_error(error.what());
    answer(command);
  }

  void StatusChangeEvent(VL_SystemStatusChange change) override {
    if (std::string lost = lost_connection_text(change); !lost.empty()) {
      state.lost = true;
      fail(std::move(lost));
    } else if (change == VL_SSC_MeasurementCountReached) {
      state.count_reached = true;
      host::quit();
    }
  }

  void TrackerInfoData(VL_LTSensorType, BSTR name, std::int32_t serial_number, std::int32_t, VARIANT_BOOL, VARIANT_BOOL,
                       VARIANT_BOOL, double, double max_distance, double min_distance, std::int32_t max_rate,
                       std::int32_t, double, double, VL_TrkAccuracyModel, std::int32_t, std::int32_t) override {
    auto& tracker = measurement_.tracker;
    tracker = {utf8_of(name), serial_number, std::move(tracker.software), min_distance, max_distance, max_rate};
    answer(VL_C_GetTrackerInfo);
  }

  void SystemSoftwareVersionData(BSTR version) override {
    measurement_.tracker.software = utf8_of(version);
    answer(VL_C_GetSystemSoftwareVersion);
  }

  void SystemSettingsData(VL_WeatherMonitorStatus weather_monitor, VARIANT_BOOL transformation,
                          VARIANT_BOOL station_orientation, VARIANT_BOOL keep_last_position,
                          VARIANT_BOOL unsolicited_messages, VARIANT_BOOL reflector_positions, VARIANT_BOOL try_mode,
                          VARIANT_BOOL has_tiltra, VARIANT_BOOL has_video_camera) override {
    system_settings = {weather_monitor,    transformation,       station_orientation,
                       keep_last_position, unsolicited_messages, reflector_positions,
                       try_mode,           has_tiltra,           has_video_camera};
    answer(VL_C_GetSystemSettings);
  }

  void ContinuousPointMeasDataReady(std::int32_t points, std::int32_t bytes) override { take_block(points, bytes); }
  void ContinuousProbeMeasDataReady(std::int32_t points, std::int32_t bytes) override { take_block(points, bytes); }

  void CenterPointData(VL_MeasMode, double x, double y, double z, double std_x, double std_y, double std_z,
                       double std_total, double, double, double, double, double temperature, double pressure,
                       double humidity, VARIANT_BOOL) override {
    take_centre({x, y, z}, {std_x, std_y, std_z}, std_total, {}, temperature, pressure, humidity);
  }
  void CenterPoint2Data(VL_MeasMode, double x, double y, double z, double std_x, double std_y, double std_z,
                        double std_total, double cov_xy, double cov_xz, double cov_yz, double, double, double, double,
                        double, double, double, double temperature, double pressure, double humidity,
                        VARIANT_BOOL) override {
    take_centre({x, y, z}, {std_x, std_y, std_z}, std_total, {cov_xy, cov_xz, cov_yz}, temperature, pressure, humidity);
  }
  void CenterPointProbeData(VL_MeasMode, double x, double y, double z, double std_x, double std_y, double std_z,
                            double std_total, double cov_xy, double cov_xz, double cov_yz, double, double, double,
                            double, double, double, double, double temperature, double pressure, double humidity,
                            VARIANT_BOOL) override {
    take_centre({x, y, z}, {std_x, std_y, std_z}, std_total, {cov_xy, cov_xz, cov_yz}, temperature, pressure, humidity);
  }

 private:
  static std::string utf8_of(BSTR text) { return to_utf8({text, SysStringLen(text)}); }

  void answer(VL_Command command) {
    if (awaited != command) return;
    awaited.reset();
    host::quit();
  }

  void fail(std::string reason) {
    if (state.failure.empty()) state.failure = std::move(reason);
    host::quit();
  }

  void take_block(std::int32_t points, std::int32_t bytes) {
    // Nothing may be thrown through the library.
    try {
      append_block(points, bytes);
    } catch (const std::exception& error) {
      fail(error.what());
    }
  }

  void append_block(std::int32_t points, std::int32_t bytes) {
    auto& reception = state.reception;
    ++reception.announced;
    reception.announced_points += static_cast<std::size_t>(std::max(points, 0));
    const Packet packet(connection_);
    if (packet.bytes().size() != static_cast<std::size_t>(bytes)) return;  // another one has taken its place
    const StreamBlock block = read_stream_block(packet.bytes());
    ++reception.packets;
    reception.points += block.points.size();
    reception.bytes += packet.bytes().size();
    if (block.attitudes.empty() == measurement_.attitudes) throw Failure("the tracker sent points of another kind");
    record_.add(block.points, block.attitudes);
    if (record_.has_passed_end()) host::quit();
  }

  void take_centre(const Vector& position, const Vector& deviation, double total, const Vector& covariance,
                   double temperature, double pressure, double humidity) {
    const Point point{0, position, deviation, total, covariance, temperature, pressure, humidity};
    ++state.reception.announced;
    if (!has_position(point)) return fail("the tracker sent a centre without a position");
    ++state.reception.packets;
    try {
      record_.add({&point, 1});
    } catch (const std::exception& error) {
      fail(error.what());
    }
    host::quit();
  }

  ILTConnect& connection_;
  Measurement& measurement_;
  Record& record_;
};

}  // namespace kestrine::cli
