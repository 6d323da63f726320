// Stationary points: readings are drawn one by one over the measure time, and the result is their mean with the
// spread that they really have.
#include <algorithm>

#include "simulator/measuring/measuring.h"
#include "simulator/measuring/results.h"

namespace kestrine::simulator {
namespace {

constexpr double kReadingsPerSecond = 500;
constexpr int kFewestReadings = 2;

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

// The mean of readings that scatter, with the uncertainty that their own spread gives it.
struct Mean {
  Vector value;
  Matrix covariance;  // of the mean
};

// Two readings at least: a spread needs two.
template <class Read>
Mean mean_of(int readings, const Read& read) {
  Vector sum;
  Matrix squares;
  for (int i = 0; i < readings; ++i) {
    const Vector each = read();
    sum += each;
    squares += each * each.transpose();
  }
  const Vector mean = (1.0 / readings) * sum;
  const Matrix scatter = (1.0 / readings) * squares - mean * mean.transpose();
  return {mean, (1.0 / (readings - 1)) * scatter};
}

// Waits for the measure time; what was read meanwhile makes the result.
class Stationary : public Measurement {
 public:
  Stationary(Tracker& tracker, std::weak_ptr<Client> client)
      : Measurement(std::move(client)), tracker_(tracker), frame_(tracker.frame()), timer_(tracker.scheduler()) {
    const double seconds = measure_seconds(tracker.settings());
    readings_ = std::max(kFewestReadings, static_cast<int>(seconds * kReadingsPerSecond));
    timer_.start(seconds, [this] { finish(); });
  }

  void stop() override {}  // half a point is none

 protected:
  // Measures the place and sends the result to the client, when it is still there. Returns the point measured.
  virtual Vector measure(const Vector& target, Client* receiver) = 0;

  Tracker& tracker() { return tracker_; }
  const Frame& frame() const { return frame_; }
  int readings() const { return readings_; }

 private:
  void finish() {
    tracker_.state().last_measured = measure(*tracker_.state().target, client().get());
    tracker_.end_measurement();
  }

  Tracker& tracker_;
  const Frame frame_;  // a change of units meanwhile is for the next point
  int readings_ = 0;
  Timer timer_;
};

class StationaryPoint : public Stationary {
 public:
  using Stationary::Stationary;

 private:
  Vector measure(const Vector& target, Client* receiver) override {
    Noise& noise = tracker().noise();
    const double distance = length(target);
    const Mean mean = mean_of(readings(), [&] { return noise.deviation(distance); });
    Vector place = Noise::displaced(target, mean.value);
    const SinglePoint point{place, mean.value, Noise::covariance(place, mean.covariance), noise.covariance(place)};
    if (receiver) send_point(tracker(), *receiver, frame(), point);
    return place;
  }
};

class StationaryProbe : public Stationary {
 public:
  StationaryProbe(Tracker& tracker, std::weak_ptr<Client> client)
      : Stationary(tracker, std::move(client)), tools_(probe_tools(tracker)) {}

 private:
  Vector measure(const Vector& target, Client* receiver) override {
    const ProbeView view(tools_, target);
    Noise& noise = tracker().noise();
    const double distance = length(view.reflector());
    const Mean beam = mean_of(readings(), [&] { return noise.deviation(distance); });
    const Mean attitude = mean_of(readings(), [&] { return noise.attitude_deviation(); });
    const HeldProbe probe = view.displaced(beam.value, attitude.value);
    if (!receiver) return probe.tip;
    const ProbeSpread measured =
        view.spread(frame(), Noise::covariance(view.reflector(), beam.covariance), attitude.covariance);
    const ProbeSpread expected = view.expected_spread(frame(), noise);
    ProbeStationaryResultT result;
    fill_circumstances(result, tracker(), frame());
    fill_tools(result, tools_);
    fill_pose(result, frame(), probe);
    fill_spread(result, measured);
    fill_expectation(result, expected);
    receiver->send(data_packet(result, VL_DT_StationaryProbeMeasResult));
    return probe.tip;
  }

  const ProbeTools tools_;  // a change of the tip meanwhile is for the next point
};

}  // namespace

std::unique_ptr<Measurement> measure_stationary(Tracker& tracker, std::weak_ptr<Client> client) {
  return std::make_unique<StationaryPoint>(tracker, std::move(client));
}

std::unique_ptr<Measurement> measure_probe_stationary(Tracker& tracker, std::weak_ptr<Client> client) {
  return std::make_unique<StationaryProbe>(tracker, std::move(client));
}

}  // namespace kestrine::simulator
