// The centre of a sphere or a circle: the reflector, or the probe's tip, is led over it, and the result is the one
// point that was never touched.
#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "simulator/mathematics/centre_fit.h"
#include "simulator/measuring/measuring.h"
#include "simulator/measuring/results.h"
#include "simulator/measuring/sampling.h"
#include "simulator/tracker/settings.h"

namespace kestrine::simulator {
namespace {

constexpr int kStepsAtOnce = 5000;   // before others get their turn
constexpr double kWorstFit = 0.001;  // metres: what lies farther off is no such sphere or circle

std::optional<double> fixed_radius(VL_MeasMode mode, const Settings& settings) {
  const auto pick = [](const auto& data) {
    const double radius = data.dRadius;
    return data.bFixRadius ? std::optional(radius) : std::nullopt;
  };
  if (mode == VL_MM_SphereCenter) return pick(settings.get<SphereCenterModeDataT>(VL_C_SetSphereCenterModeParams));
  return pick(settings.get<CircleCenterModeDataT>(VL_C_SetCircleCenterModeParams));
}

class CentreSearch : public Measurement {
 public:
  CentreSearch(Tracker& tracker, std::weak_ptr<Client> client, VL_MeasMode mode)
      : Measurement(std::move(client)),
        tracker_(tracker),
        mode_(point_mode(mode)),
        is_probe_(is_probe_mode(mode)),
        frame_(tracker.frame()),
        tools_(probe_tools(tracker)),
        radius_(fixed_radius(mode_, tracker.settings())),
        sampling_(sampling_of(mode, tracker.settings(), frame_)),
        is_paced_(tracker.options().time_scale > 0),
        start_(tracker.scheduler().now()),
        timer_(tracker.scheduler()) {
    walk();
  }

  // As many points as there are by then make the result, if they are enough.
  void stop() override {
    if (is_paced_) {
      const double now = tracker_.scheduler().now() - start_;
      std::erase_if(samples_, [&](const Sample& each) { return each.seconds > now; });
    }
    report();
  }

 private:
  bool is_complete() const { return samples_.size() >= static_cast<std::size_t>(sampling_.points); }

  void walk() {
    for (int i = 0; i < kStepsAtOnce && !is_complete(); ++i) {
      if (const auto sample = sampling_.sampler->step()) samples_.push_back(*sample);
    }
    const double due = is_complete() ? samples_.back().seconds : sampling_.sampler->seconds();
    const double wait = is_paced_ ? start_ + due - tracker_.scheduler().now() : 0;
    timer_.start(std::max(0.0, wait), [this] { is_complete() ? finish() : walk(); });
  }

  void finish() {
    report();
    tracker_.announce(VL_SSC_MeasurementCountReached);
    tracker_.end_measurement();
  }

  Vector read(const Vector& place) {
    Noise& noise = tracker_.noise();
    if (!is_probe_) return Noise::displaced(place, noise.deviation(length(place)));
    return ProbeView(tools_, place).read(noise).tip;
  }

  void report() {
    std::vector<Vector> points;
    for (const Sample& each : samples_) points.push_back(read(each.place));
    if (!samples_.empty()) {
      tracker_.lock_on(samples_.back().place);
      tracker_.state().last_measured = points.back();
    }
    const bool is_sphere = mode_ == VL_MM_SphereCenter;
    const auto fit = is_sphere ? fit_sphere(points, radius_) : fit_circle(points, radius_);
    const auto receiver = client();
    if (!receiver) return;
    if (fit && fit->rms <= kWorstFit) return send_centre(*receiver, *fit);
    const VL_ResultStatus status = is_sphere ? VL_RS_NoSphereCenterFound : VL_RS_NoCircleCenterFound;
    send_no_result(tracker_, *receiver, status);
  }

  void send_centre(Client& receiver, const CentreFit& fit) {
    const Matrix one_reading = tracker_.noise().covariance(fit.centre);
    const double expected = one_reading.trace() / 3;
    const Matrix covariance = fit.variance.value_or(expected) * fit.cofactor;
    const Matrix expectation = expected * fit.cofactor;
    if (!is_probe_) return send_point(tracker_, receiver, frame_, {fit.centre, {}, covariance, expectation});
    ProbeStationaryResultT result;
    fill_circumstances(result, tracker_, frame_);
    fill_tools(result, tools_);
    fill_position(result, frame_.to_values(fit.centre));
    fill_position_spread(result, frame_.uncertainty(fit.centre, covariance));
    fill_position_expectation(result, frame_.uncertainty(fit.centre, expectation));
    result.dQuaternion0 = 1;  // a centre has no attitude
    receiver.send(data_packet(result, VL_DT_StationaryProbeMeasResult));
  }

  Tracker& tracker_;
  const VL_MeasMode mode_;
  const bool is_probe_;
  const Frame frame_;  // a change of units meanwhile is for the next measurement
  const ProbeTools tools_;
  const std::optional<double> radius_;
  const Sampling sampling_;
  const bool is_paced_;
  const double start_;
  Timer timer_;
  std::vector<Sample> samples_;
};

}  // namespace

std::unique_ptr<Measurement> measure_centre(Tracker& tracker, std::weak_ptr<Client> client, VL_MeasMode mode) {
  return std::make_unique<CentreSearch>(tracker, std::move(client), mode);
}

}  // namespace kestrine::simulator
