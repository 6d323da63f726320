// Stationary points: readings are drawn one by one over the measure time, and the result is their mean with the
// spread that they really have.
#include <algorithm>
#include <utility>

#include "simulator/measurement.h"
#include "simulator/packets.h"
#include "simulator/tracker.h"
#include "simulator/uncertainty.h"

namespace kestrine::simulator {
namespace {

constexpr double kReadingsPerSecond = 500;
constexpr int kFewestReadings = 2;  // a spread needs two

struct Mean {
  Vector deviation;     // across, across, along
  Matrix covariance{};  // of that mean
};

Mean draw(Noise& noise, double distance, int readings) {
  Vector sum;
  Matrix squares{};
  for (int i = 0; i < readings; ++i) {
    const Vector each = noise.deviation(distance);
    const std::array values{each.x, each.y, each.z};
    sum = sum + each;
    for (std::size_t r = 0; r < 3; ++r)
      for (std::size_t c = 0; c < 3; ++c) squares[r][c] += values[r] * values[c];
  }
  const Vector mean = (1.0 / readings) * sum;
  const std::array means{mean.x, mean.y, mean.z};
  Mean result{mean, {}};
  for (std::size_t r = 0; r < 3; ++r)
    for (std::size_t c = 0; c < 3; ++c)
      result.covariance[r][c] = (squares[r][c] / readings - means[r] * means[c]) / (readings - 1);
  return result;
}

double measure_seconds(const Settings& settings) {
  switch (settings.get<VL_MeasMode>(VL_C_SetMeasurementMode)) {
    case VL_MM_Fast:
      return 0.5;
    case VL_MM_Standard:
      return 1;
    case VL_MM_Precise:
      return 2;
    case VL_MM_Outdoor:
      return 3;
    default:
      return settings.get<StationaryModeDataT>(VL_C_SetStationaryModeParams).lMeasTime / 1000.0;
  }
}

// The fields that both generations of the result have, under the same names.
template <class Result>
void fill_common(Result& result, Tracker& tracker, const Frame& frame) {
  const auto weather = tracker.settings().get<EnvironmentDataT>(VL_C_SetEnvironmentParams, frame);
  result.measMode = tracker.settings().get<VL_MeasMode>(VL_C_SetMeasurementMode);
  result.bIsTryMode = tracker.settings().get<SystemSettingsDataT>(VL_C_SetSystemSettings).bTryMeasurementMode;
  result.dTemperature = weather.dTemperature;
  result.dPressure = weather.dPressure;
  result.dHumidity = weather.dHumidity;
}

template <class Result>
void fill_point(Result& result, const Vector& values, const Uncertainty& measured, const Uncertainty& expected) {
  result.dVal1 = values.x;
  result.dVal2 = values.y;
  result.dVal3 = values.z;
  result.dStd1 = measured.deviations.x;
  result.dStd2 = measured.deviations.y;
  result.dStd3 = measured.deviations.z;
  result.dStdTotal = measured.total;
  result.dAprioriStd1 = expected.deviations.x;
  result.dAprioriStd2 = expected.deviations.y;
  result.dAprioriStd3 = expected.deviations.z;
  result.dAprioriStdTotal = expected.total;
}

void fill_rest(SingleMeasResultT& result, const Vector& pointing, const Uncertainty&, const Uncertainty&) {
  result.dPointingError1 = pointing.x;
  result.dPointingError2 = pointing.y;
  result.dPointingError3 = pointing.z;
}

void fill_rest(SingleMeasResult2T& result, const Vector& pointing, const Uncertainty& measured,
               const Uncertainty& expected) {
  result.dCovar12 = measured.covariance12;
  result.dCovar13 = measured.covariance13;
  result.dCovar23 = measured.covariance23;
  result.dAprioriCovar12 = expected.covariance12;
  result.dAprioriCovar13 = expected.covariance13;
  result.dAprioriCovar23 = expected.covariance23;
  result.dPointingErrorH = pointing.x;
  result.dPointingErrorV = pointing.y;
  result.dPointingErrorD = pointing.z;
}

template <class Result>
void send(Client& client, const Result& result, VL_DataType type, VL_ResultStatus status) {
  Bytes packet = packed(result);
  begin_data_packet(packet, type, status);
  client.send(std::move(packet));
}

// Calls back with an empty result of the kind that the statistic mode asks for, and with its data type.
template <class Use>
void with_result(const Settings& settings, const Use& use) {
  if (settings.integer(VL_C_SetStatisticMode, 0) == VL_SM_Extended) {
    use(SingleMeasResult2T{}, VL_DT_SingleMeasResult2);
  } else {
    use(SingleMeasResultT{}, VL_DT_SingleMeasResult);
  }
}

class Stationary : public Measurement {
 public:
  Stationary(Tracker& tracker, std::weak_ptr<Client> client)
      : Measurement(std::move(client)), tracker_(tracker), frame_(tracker.frame()), timer_(tracker.scheduler()) {
    const double seconds = measure_seconds(tracker.settings());
    readings_ = std::max(kFewestReadings, static_cast<int>(seconds * kReadingsPerSecond));
    timer_.start(seconds, [this] { finish(); });
  }

  void stop() override {}  // half a point is none

 private:
  void finish() {
    const Vector target = *tracker_.state().target;
    const Mean mean = draw(tracker_.noise(), length(target), readings_);
    const Vector point = Noise::displaced(target, mean.deviation);
    tracker_.state().last_measured = point;
    if (const auto receiver = client()) {
      const Uncertainty measured = uncertainty(frame_, point, Noise::covariance(point, mean.covariance));
      const Uncertainty expected = uncertainty(frame_, point, tracker_.noise().covariance(point));
      const Vector pointing = length_factor(frame_.length) * mean.deviation;
      with_result(tracker_.settings(), [&](auto result, VL_DataType type) {
        fill_common(result, tracker_, frame_);
        fill_point(result, frame_.to_outside(point), measured, expected);
        fill_rest(result, pointing, measured, expected);
        send(*receiver, result, type, VL_RS_AllOK);
      });
    }
    tracker_.end_measurement();
  }

  Tracker& tracker_;
  const Frame frame_;  // a change of units meanwhile is for the next point
  int readings_ = 0;
  Timer timer_;
};

}  // namespace

std::unique_ptr<Measurement> measure_stationary(Tracker& tracker, std::weak_ptr<Client> client) {
  return std::make_unique<Stationary>(tracker, std::move(client));
}

void send_no_result(Tracker& tracker, Client& client, VL_ResultStatus status) {
  with_result(tracker.settings(), [&](auto result, VL_DataType type) {
    fill_common(result, tracker, tracker.frame());
    send(client, result, type, status);
  });
}

}  // namespace kestrine::simulator
