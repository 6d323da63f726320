#include "cli/session.h"

#include "cli/failure.h"

namespace kestrine::cli {
namespace {

// A text of the library's, freed with its last reader.
class Text {
 public:
  Text() = default;
  Text(const Text&) = delete;
  Text& operator=(const Text&) = delete;
  ~Text() { SysFreeString(text_); }

  BSTR* put() { return &text_; }
  std::string utf8() const { return to_utf8(std::u16string_view(text_, SysStringLen(text_))); }

 private:
  BSTR text_ = nullptr;
};

// Host names are plain ASCII; anything else arrives as characters that no look-up finds.
std::u16string wide(const std::string& text) {
  return {text.begin(), text.end()};
}

}  // namespace

Session::Session(const std::string& host, std::uint16_t port, Warn warn)
    : warn_(std::move(warn)), connection_(create<ILTConnect>(CLSID_LTConnect)) {
  const std::u16string name = wide(host);
  const BSTR address = SysAllocStringLen(name.data(), static_cast<UINT>(name.size()));
  const HRESULT status = connection_->ConnectEmbeddedSystem(address, port);
  SysFreeString(address);
  check(status);
  Pointer<IUnknown> commands;
  check(connection_->get_ILTCommandSync(commands.put()));
  commands_ = commands.query<ILTCommandSync>();
}

Session::~Session() {
  commands_.reset();
  connection_->DisconnectEmbeddedSystem();
}

void Session::call(HRESULT status) {
  if (check(status) == S_FALSE) warn_(take_error(status).what());
}

void Session::set_units(const LengthUnit& unit) {
  call(commands_->SetUnits(unit.code, VL_AU_Degree, VL_TU_Celsius, VL_PU_Mbar, VL_HU_RH));
}

void Session::initialise() {
  call(commands_->Initialize());
}

Tracker Session::identify() {
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

void Session::set_frame(bool extended) {
  const auto statistics = extended ? VL_SM_Extended : VL_SM_Standard;
  call(commands_->SetCoordinateSystemType(VL_CS_RHR));
  call(commands_->SetStatisticMode(statistics, statistics));
}

void Session::set_stationary_mode(std::int32_t measure_time, bool extended) {
  set_frame(extended);
  call(commands_->SetMeasurementMode(VL_MM_Stationary));
  call(commands_->SetStationaryModeParams(measure_time, VARIANT_FALSE));
}

void Session::set_stream_mode(std::int32_t time_separation, std::int32_t count, bool extended) {
  set_frame(extended);
  call(commands_->SetMeasurementMode(VL_MM_ContinuousTime));
  call(commands_->SetContinuousTimeModeParams(time_separation, count, VARIANT_FALSE, VL_RT_Sphere));
}

Point Session::measure_point(bool extended) {
  const auto point_of = [](const auto& result) {
    Point point;
    point.position = {result.dVal1, result.dVal2, result.dVal3};
    if (!has_position(point)) throw Failure("the tracker sent a point without a position");
    point.deviation = {result.dStd1, result.dStd2, result.dStd3};
    point.deviation_total = result.dStdTotal;
    point.temperature = result.dTemperature;
    point.pressure = result.dPressure;
    point.humidity = result.dHumidity;
    return point;
  };
  if (!extended) {
    SingleMeasResultT result{};
    call(commands_->MeasureStationaryPointEx(&result));
    return point_of(result);
  }
  SingleMeasResult2T result{};
  call(commands_->MeasureStationaryPoint2Ex(&result));
  Point point = point_of(result);
  point.covariance = {result.dCovar12, result.dCovar13, result.dCovar23};
  return point;
}

void Session::start_stream() {
  call(commands_->StartContinuousPointMeasurement());
}

void Session::stop_stream() {
  call(commands_->StopContinuousMeasurement());
}

}  // namespace kestrine::cli
