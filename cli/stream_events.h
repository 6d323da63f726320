// Hears everything that a tracker has to say to an application that never waits in a call: answers, results, errors.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "cli/measurement.h"
#include "cli/reception.h"
#include "kestrine/kestrine.h"

namespace kestrine::cli {

// An answer, a failure, a centre and the tracker's word that it has measured all end the running run_for(), so that
// they are noticed at once. Blocks only add up: what has come is looked at when a slice of the loop is over.
class StreamEvents : public AsyncEvents {
 public:
  using Warn = std::function<void(const std::string& text)>;

  // The connection and the measurement outlive the sink's subscription. Points are appended to the measurement, with
  // seconds since the first one.
  StreamEvents(ILTConnect& connection, Measurement& measurement, Warn warn)
      : connection_(connection), measurement_(measurement), warn_(std::move(warn)) {}

  void expect_answer(VL_Command command) { awaited_ = command; }
  bool is_answered() const { return !awaited_; }

  // Why nothing more will come; empty while it may.
  const std::string& failure() const { return failure_; }
  // Whether the reason is that nobody is there any more.
  bool lost() const { return lost_; }
  // For what has to be done all the same.
  void forget_failure() { failure_.clear(); }
  // Forgets what the tracker said of a measurement before this one.
  void expect_measurement() { count_reached_ = false; }
  // Whether the tracker has said that it has measured all that it was asked for; the last of it may be on its way.
  bool count_reached() const { return count_reached_; }
  // As the tracker told them last.
  const SystemSettingsDataT& system_settings() const { return system_settings_; }
  const Reception& reception() const { return reception_; }

  void CommandCompletedData(VL_Command command) override { answer(command); }
  void ErrorEvent(VL_Command command, VL_ResultStatus status) override;
  void StatusChangeEvent(VL_SystemStatusChange change) override;
  void TrackerInfoData(VL_LTSensorType, BSTR name, std::int32_t serial_number, std::int32_t, VARIANT_BOOL, VARIANT_BOOL,
                       VARIANT_BOOL, double, double max_distance, double min_distance, std::int32_t max_rate,
                       std::int32_t, double, double, VL_TrkAccuracyModel, std::int32_t, std::int32_t) override;
  void SystemSoftwareVersionData(BSTR version) override;
  void SystemSettingsData(VL_WeatherMonitorStatus weather_monitor, VARIANT_BOOL transformation,
                          VARIANT_BOOL station_orientation, VARIANT_BOOL keep_last_position,
                          VARIANT_BOOL unsolicited_messages, VARIANT_BOOL reflector_positions, VARIANT_BOOL try_mode,
                          VARIANT_BOOL has_tiltra, VARIANT_BOOL has_video_camera) override;

  void ContinuousPointMeasDataReady(std::int32_t points, std::int32_t bytes) override { take_block(points, bytes); }
  void ContinuousProbeMeasDataReady(std::int32_t points, std::int32_t bytes) override { take_block(points, bytes); }
  void CenterPointData(VL_MeasMode, double x, double y, double z, double std_x, double std_y, double std_z,
                       double std_total, double, double, double, double, double temperature, double pressure,
                       double humidity, VARIANT_BOOL) override;
  void CenterPoint2Data(VL_MeasMode, double x, double y, double z, double std_x, double std_y, double std_z,
                        double std_total, double cov_xy, double cov_xz, double cov_yz, double, double, double, double,
                        double, double, double, double temperature, double pressure, double humidity,
                        VARIANT_BOOL) override;
  void CenterPointProbeData(VL_MeasMode, double x, double y, double z, double std_x, double std_y, double std_z,
                            double std_total, double cov_xy, double cov_xz, double cov_yz, double, double, double,
                            double, double, double, double, double temperature, double pressure, double humidity,
                            VARIANT_BOOL) override;

 private:
  void answer(VL_Command command);
  void fail(std::string reason);
  void take_block(std::int32_t points, std::int32_t bytes);
  void append_block(std::int32_t points, std::int32_t bytes);
  void take_centre(Point point);

  ILTConnect& connection_;
  Measurement& measurement_;
  Warn warn_;
  std::optional<VL_Command> awaited_;
  std::optional<double> first_seconds_;
  Reception reception_;
  std::string failure_;
  bool lost_ = false;
  bool count_reached_ = false;
  SystemSettingsDataT system_settings_;
};

}  // namespace kestrine::cli
