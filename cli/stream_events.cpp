#include "cli/stream_events.h"

#include <span>
#include <utility>

#include "cli/failure.h"
#include "cli/loss.h"
#include "cli/stream_block.h"

namespace kestrine::cli {
namespace {

// The packet received last, for as long as it is read.
class ReceivedPacket {
 public:
  explicit ReceivedPacket(ILTConnect& connection) {
    check(connection.GetData(&data_));
    check(SafeArrayAccessData(data_.parray, &bytes_));
  }
  ReceivedPacket(const ReceivedPacket&) = delete;
  ReceivedPacket& operator=(const ReceivedPacket&) = delete;
  ~ReceivedPacket() {
    if (bytes_ != nullptr) SafeArrayUnaccessData(data_.parray);
    VariantClear(&data_);
  }

  std::span<const std::uint8_t> bytes() const {
    return {static_cast<const std::uint8_t*>(bytes_), data_.parray->rgsabound[0].cElements};
  }

 private:
  VARIANT data_{};
  void* bytes_ = nullptr;
};

std::string utf8_of(BSTR text) {
  return to_utf8({text, SysStringLen(text)});
}

}  // namespace

void StreamEvents::answer(VL_Command command) {
  if (awaited_ != command) return;
  awaited_.reset();
  host::quit();
}

void StreamEvents::fail(std::string reason) {
  if (failure_.empty()) failure_ = std::move(reason);
  host::quit();
}

void StreamEvents::ErrorEvent(VL_Command command, VL_ResultStatus status) {
  // The library leaves its report of the error behind before it fires the event.
  const Error error = take_error(S_FALSE);
  if (is_warning(status)) {
    warn_(error.what());
    answer(command);
  } else {
    fail(told(error));
  }
}

void StreamEvents::StatusChangeEvent(VL_SystemStatusChange change) {
  if (std::string loss = loss_told_by(change); !loss.empty()) {
    lost_ = true;
    fail(std::move(loss));
  } else if (change == VL_SSC_MeasurementCountReached) {
    count_reached_ = true;
    host::quit();
  }
}

void StreamEvents::TrackerInfoData(VL_LTSensorType, BSTR name, std::int32_t serial_number, std::int32_t, VARIANT_BOOL,
                                   VARIANT_BOOL, VARIANT_BOOL, double, double max_distance, double min_distance,
                                   std::int32_t max_rate, std::int32_t, double, double, VL_TrkAccuracyModel,
                                   std::int32_t, std::int32_t) {
  auto& tracker = measurement_.tracker;
  tracker.name = utf8_of(name);
  tracker.serial_number = serial_number;
  tracker.max_distance = max_distance;
  tracker.min_distance = min_distance;
  tracker.max_rate = max_rate;
  answer(VL_C_GetTrackerInfo);
}

void StreamEvents::SystemSoftwareVersionData(BSTR version) {
  measurement_.tracker.software = utf8_of(version);
  answer(VL_C_GetSystemSoftwareVersion);
}

void StreamEvents::SystemSettingsData(VL_WeatherMonitorStatus weather_monitor, VARIANT_BOOL transformation,
                                      VARIANT_BOOL station_orientation, VARIANT_BOOL keep_last_position,
                                      VARIANT_BOOL unsolicited_messages, VARIANT_BOOL reflector_positions,
                                      VARIANT_BOOL try_mode, VARIANT_BOOL has_tiltra, VARIANT_BOOL has_video_camera) {
  system_settings_ = {weather_monitor,    transformation,       station_orientation,
                      keep_last_position, unsolicited_messages, reflector_positions,
                      try_mode,           has_tiltra,           has_video_camera};
  answer(VL_C_GetSystemSettings);
}

void StreamEvents::take_block(std::int32_t points, std::int32_t bytes) {
  // Nothing may be thrown through the library.
  try {
    append_block(points, bytes);
  } catch (const std::exception& error) {
    fail(error.what());
  }
}

void StreamEvents::append_block(std::int32_t points, std::int32_t bytes) {
  ++reception_.announced;
  reception_.announced_points += static_cast<std::size_t>(std::max(points, 0));
  const ReceivedPacket packet(connection_);
  if (packet.bytes().size() != static_cast<std::size_t>(bytes)) return;  // another one has taken its place
  StreamBlock block = read_stream_block(packet.bytes());
  ++reception_.packets;
  reception_.points += block.points.size();
  reception_.bytes += packet.bytes().size();
  for (Point& point : block.points) {
    if (!first_seconds_) first_seconds_ = point.seconds;
    point.seconds -= *first_seconds_;
    measurement_.points.push_back(point);
  }
  measurement_.attitudes.insert(measurement_.attitudes.end(), block.attitudes.begin(), block.attitudes.end());
}

void StreamEvents::take_centre(Point point) {
  ++reception_.announced;
  if (!has_position(point)) return fail("the tracker sent a centre without a position");
  ++reception_.packets;
  measurement_.points.push_back(point);
  host::quit();
}

void StreamEvents::CenterPointData(VL_MeasMode, double x, double y, double z, double std_x, double std_y, double std_z,
                                   double std_total, double, double, double, double, double temperature,
                                   double pressure, double humidity, VARIANT_BOOL) {
  take_centre({.position = {x, y, z},
               .deviation = {std_x, std_y, std_z},
               .deviation_total = std_total,
               .temperature = temperature,
               .pressure = pressure,
               .humidity = humidity});
}

void StreamEvents::CenterPoint2Data(VL_MeasMode, double x, double y, double z, double std_x, double std_y, double std_z,
                                    double std_total, double cov_xy, double cov_xz, double cov_yz, double, double,
                                    double, double, double, double, double, double temperature, double pressure,
                                    double humidity, VARIANT_BOOL) {
  take_centre({.position = {x, y, z},
               .deviation = {std_x, std_y, std_z},
               .deviation_total = std_total,
               .covariance = {cov_xy, cov_xz, cov_yz},
               .temperature = temperature,
               .pressure = pressure,
               .humidity = humidity});
}

void StreamEvents::CenterPointProbeData(VL_MeasMode mode, double x, double y, double z, double std_x, double std_y,
                                        double std_z, double std_total, double cov_xy, double cov_xz, double cov_yz,
                                        double expected_x, double expected_y, double expected_z, double expected_total,
                                        double expected_xy, double expected_xz, double expected_yz, double temperature,
                                        double pressure, double humidity, VARIANT_BOOL is_try) {
  // The same figures in the same order.
  CenterPoint2Data(mode, x, y, z, std_x, std_y, std_z, std_total, cov_xy, cov_xz, cov_yz, expected_x, expected_y,
                   expected_z, expected_total, expected_xy, expected_xz, expected_yz, temperature, pressure, humidity,
                   is_try);
}

}  // namespace kestrine::cli
