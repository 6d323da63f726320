#include "simulator/measuring/sampling.h"

#include <cmath>
#include <utility>

#include "simulator/tracker/world.h"

namespace kestrine::simulator {
namespace {

constexpr double kCycle = 3;  // of the start line
constexpr double kRises = 0.5;
constexpr double kFalls = 2.5;

class Pulses : public Sampler {
 public:
  explicit Pulses(const ExternTriggerParamsT& params)
      : first_(params.clockTransition == VL_CT_Positive ? 0 : kPulseInterval / 2),
        is_too_fast_(params.lMinimalTimeDelay > kPulseInterval * 1000) {}

  std::optional<Sample> step() override {
    const double at = seconds();
    const bool is_violation = is_too_fast_ && pulses_ > 0;
    ++pulses_;
    return Sample{at, path_at(at), is_violation ? VL_MS_TriggerTimeViolation : VL_MS_AllOK};
  }
  double seconds() const override { return first_ + static_cast<double>(pulses_) * kPulseInterval; }
  std::size_t points_in_block() const override { return 1; }

 private:
  const double first_;
  const bool is_too_fast_;
  std::int64_t pulses_ = 0;
};

// Lets points through while the start line has the level that starts.
class Gated : public Sampler {
 public:
  Gated(std::unique_ptr<Sampler> inner, VL_TriggerStartSignal level)
      : inner_(std::move(inner)), opens_when_high_(level == VL_TSS_High) {}

  // A change of the line is a step of its own, before the points that it lets through or holds back.
  std::optional<Sample> step() override {
    edge_.reset();
    const bool is_open = is_high(seconds()) == opens_when_high_;
    if (std::exchange(was_open_, is_open) != is_open) {
      edge_ = is_open ? VL_SSC_ExternalTriggerStartEvent : VL_SSC_ExternalTriggerStopEvent;
      return std::nullopt;
    }
    const auto sample = inner_->step();
    return is_open ? sample : std::nullopt;
  }
  double seconds() const override { return inner_->seconds(); }
  std::size_t points_in_block() const override { return inner_->points_in_block(); }
  bool is_unpaced() const override { return inner_->is_unpaced(); }
  std::optional<VL_SystemStatusChange> edge() const override { return edge_; }

 private:
  static bool is_high(double seconds) {
    const double phase = std::fmod(seconds, kCycle);
    return phase >= kRises && phase < kFalls;
  }

  const std::unique_ptr<Sampler> inner_;
  const bool opens_when_high_;
  bool was_open_ = false;
  std::optional<VL_SystemStatusChange> edge_;
};

}  // namespace

std::unique_ptr<Sampler> triggered(std::unique_ptr<Sampler> own, const Settings& settings) {
  if (settings.get<VL_TriggerSource>(VL_C_SetTriggerSource) != VL_TS_External) return own;
  const auto params = settings.get<ExternTriggerParamsT>(VL_C_SetExternTriggerParams);
  if (params.triggerMode == VL_TM_EventTrigger) return std::make_unique<Pulses>(params);
  if (params.triggerMode == VL_TM_ContinuousExternalClockWithStartStop) own = std::make_unique<Pulses>(params);
  return std::make_unique<Gated>(std::move(own), params.startSignal);
}

}  // namespace kestrine::simulator
