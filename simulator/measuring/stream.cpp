// Continuous measurements: blocks of points, each sent when its last point is due. A client that does not read
// makes the stream wait, and it catches up afterwards; no point is ever left out.
#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

#include "simulator/measuring/measuring.h"
#include "simulator/measuring/results.h"
#include "simulator/measuring/sampling.h"
#include "simulator/messages/frame.h"
#include "simulator/messages/messages.h"
#include "simulator/tracker/settings.h"
#include "simulator/tracker/tracker.h"
#include "simulator/tracker/world.h"

namespace kestrine::simulator {
namespace {

constexpr std::size_t kMostPointsInBlock = 1000;
constexpr std::size_t kMostBytesInBlock = 131071;  // clients take no larger packet
constexpr std::size_t kMostBacklog = 256 * 1024;   // bytes that wait for a client before the stream does
constexpr double kBlockSeconds = 0.1;              // after which a block goes out, full or not
constexpr int kStepsAtOnce = 5000;                 // before others get their turn

// Points as one of the two generations packs them.
template <class Packet>
class Block {
 public:
  using Element = typename RecordTraits<Packet>::Element;
  static constexpr std::size_t kHead = RecordTraits<Packet>::header_size;
  static constexpr std::size_t kEach = RecordTraits<Element>::size;
  static constexpr std::size_t kMostPoints = std::min(kMostPointsInBlock, (kMostBytesInBlock - kHead) / kEach);

  std::size_t points() const { return points_; }
  void add(const Element& element) {
    bytes_.resize(kHead + (points_ + 1) * kEach);
    write_record(element, bytes_.data() + kHead + points_ * kEach);
    ++points_;
  }
  void keep_first(std::size_t points) {
    points_ = points;
    bytes_.resize(kHead + points * kEach);
  }
  Bytes take(Packet head, VL_DataType type) {
    head.lNumberOfResults = static_cast<std::int32_t>(points_);
    write_record(head, bytes_.data());
    begin_data_packet(bytes_, type, VL_RS_AllOK);
    points_ = 0;
    return std::exchange(bytes_, {});
  }

 private:
  Bytes bytes_;
  std::size_t points_ = 0;
};

void fill_uncertainty(MeasValueT&, Tracker&, const Frame&, const Vector&) {}

void fill_uncertainty(MeasValue2T& element, Tracker& tracker, const Frame& frame, const Vector& point) {
  const Uncertainty expected = frame.uncertainty(point, tracker.noise().covariance(point));
  element.dAprioriStd1 = expected.deviations.x();
  element.dAprioriStd2 = expected.deviations.y();
  element.dAprioriStd3 = expected.deviations.z();
  element.dAprioriStdTotal = expected.total;
  element.dAprioriCovar12 = expected.covariance12;
  element.dAprioriCovar13 = expected.covariance13;
  element.dAprioriCovar23 = expected.covariance23;
}

// What is measured at every step: a reflector as a reading of its place, in one of two generations of packets.
template <class Element>
class PointTaker {
 public:
  explicit PointTaker(Tracker& tracker) : tracker_(tracker) {}

  void fill_head(auto&) const {}
  Vector read(const Vector& place) {
    return reading_ = Noise::displaced(place, tracker_.noise().deviation(length(place)));
  }
  void fill(Element& element, const Frame& frame, const Vector& values, double) const {
    set_values(element, values);
    fill_uncertainty(element, tracker_, frame, reading_);
  }
  void hand_out(double) {}
  void end() {}

 private:
  Tracker& tracker_;
  Vector reading_;
};

// Or the probe, with its attitude and its button.
class ProbeTaker {
 public:
  explicit ProbeTaker(Tracker& tracker) : tracker_(tracker), tools_(probe_tools(tracker)), button_(tracker) {}

  void fill_head(ProbeContinuousResultT& head) const { fill_tools(head, tools_); }
  Vector read(const Vector& place) {
    view_.emplace(tools_, place);
    probe_ = view_->read(tracker_.noise());
    return probe_.tip;
  }
  void fill(ProbeMeasValueT& element, const Frame& frame, const Vector&, double seconds) {
    fill_pose(element, frame, probe_);
    fill_spread(element, view_->expected_spread(frame, tracker_.noise()));
    element.triggerStatus = is_button_held(seconds) ? VL_TS_TriggerPressed : VL_TS_TriggerNotPressed;
  }
  void hand_out(double seconds) { button_.set(is_button_held(seconds)); }
  void end() { button_.set(false); }

 private:
  Tracker& tracker_;
  const ProbeTools tools_;  // a change of the tip meanwhile is for the next measurement
  ProbeButton button_;
  std::optional<ProbeView> view_;
  HeldProbe probe_;
};

template <class Packet, class Taker>
class Stream : public Measurement {
 public:
  Stream(Tracker& tracker, std::weak_ptr<Client> client, VL_MeasMode mode, VL_DataType type)
      : Measurement(std::move(client)),
        tracker_(tracker),
        type_(type),
        frame_(tracker.frame()),
        sampling_(sampling_of(mode, tracker.settings(), frame_)),
        sampler_(triggered(std::move(sampling_.sampler), tracker.settings())),
        is_paced_(tracker.options().time_scale > 0 && !sampler_->is_unpaced()),
        start_(tracker.scheduler().now()),
        timer_(tracker.scheduler()),
        taker_(tracker) {
    const std::size_t wanted = tracker.options().block_points;
    block_points_ =
        std::clamp<std::size_t>(wanted ? wanted : sampler_->points_in_block(), 1, Block<Packet>::kMostPoints);
    block_seconds_ = wanted || !is_paced_ ? std::numeric_limits<double>::infinity() : kBlockSeconds;
    taker_.fill_head(head_);
    head_.measMode = mode;
    head_.bIsTryMode = tracker.settings().get<SystemSettingsDataT>(VL_C_SetSystemSettings).bTryMeasurementMode;
    prepare();
  }

  void stop() override {
    if (is_paced_) {
      const double now = tracker_.scheduler().now() - start_;
      const auto is_due = [&](const Taken& each) { return each.sample.seconds <= now; };
      keep_first(static_cast<std::size_t>(std::partition_point(taken_.begin(), taken_.end(), is_due) - taken_.begin()));
    }
    send_block();
    taker_.end();
  }

  void client_caught_up() override {
    if (std::exchange(is_waiting_, false)) deliver();
  }

 private:
  struct Taken {
    Sample sample;
    Vector reading;
  };

  bool is_complete() const { return sampling_.points > 0 && count_ >= sampling_.points; }
  bool is_block_full() const {
    return edge_ || taken_.size() >= block_points_ || sampler_->seconds() >= block_start_ + block_seconds_;
  }

  // A block is measured ahead and held back until its last point is due.
  void prepare() {
    for (int i = 0; i < kStepsAtOnce && !is_complete() && !is_block_full(); ++i) step();
    const double due = taken_.empty() || edge_ ? sampler_->seconds() : taken_.back().sample.seconds;
    const double wait = is_paced_ ? start_ + due - tracker_.scheduler().now() : 0;
    timer_.start(std::max(0.0, wait), [this] { deliver(); });
  }

  void deliver() {
    const auto receiver = client();
    if (receiver && receiver->backlog() > kMostBacklog) {
      is_waiting_ = true;
      return;
    }
    if (is_complete() || is_block_full()) send_block();
    if (const auto edge = std::exchange(edge_, std::nullopt)) tracker_.announce(*edge);
    if (!is_complete()) return prepare();
    taker_.end();
    tracker_.announce(VL_SSC_MeasurementCountReached);
    tracker_.end_measurement();
  }

  void step() {
    const auto sample = sampler_->step();
    edge_ = sampler_->edge();
    if (!sample) return;
    const Vector reading = taker_.read(sample->place);
    const Vector values = frame_.to_values(reading);
    if (!sampling_.region.contains(reading, values)) return;
    typename RecordTraits<Packet>::Element element;
    const auto micros = std::llround(sample->seconds * 1e6);
    element.lTime1 = static_cast<std::int32_t>(micros / 1000000);  // seconds and microseconds since the first point
    element.lTime2 = static_cast<std::int32_t>(micros % 1000000);
    element.status = sample->status;
    taker_.fill(element, frame_, values, sample->seconds);
    block_.add(element);
    taken_.push_back({*sample, reading});
    ++count_;
  }

  void keep_first(std::size_t points) {
    count_ -= static_cast<std::int64_t>(taken_.size() - points);
    taken_.resize(points);
    block_.keep_first(points);
  }

  void send_block() {
    block_start_ = sampler_->seconds();
    if (taken_.empty()) return;
    tracker_.lock_on(taken_.back().sample.place);
    tracker_.state().last_measured = taken_.back().reading;
    for (const Taken& each : taken_) taker_.hand_out(each.sample.seconds);
    taken_.clear();
    const auto weather = tracker_.settings().get<EnvironmentDataT>(VL_C_SetEnvironmentParams, frame_);
    head_.dTemperature = weather.dTemperature;
    head_.dPressure = weather.dPressure;
    head_.dHumidity = weather.dHumidity;
    Bytes packet = block_.take(head_, type_);
    if (const auto receiver = client()) receiver->send(std::move(packet));
  }

  Tracker& tracker_;
  const VL_DataType type_;
  const Frame frame_;  // a change of units meanwhile is for the next measurement
  Sampling sampling_;
  const std::unique_ptr<Sampler> sampler_;
  const bool is_paced_;
  const double start_;
  Timer timer_;
  std::size_t block_points_ = 1;
  double block_seconds_ = 0;
  double block_start_ = 0;
  Taker taker_;
  Packet head_;
  Block<Packet> block_;
  std::vector<Taken> taken_;  // the points in the block
  std::int64_t count_ = 0;
  std::optional<VL_SystemStatusChange> edge_;  // after the points in the block
  bool is_waiting_ = false;                    // for the client to read
};

}  // namespace

std::unique_ptr<Measurement> measure_continuously(Tracker& tracker, std::weak_ptr<Client> client, VL_MeasMode mode) {
  if (is_probe_mode(mode))
    return std::make_unique<Stream<ProbeContinuousResultT, ProbeTaker>>(tracker, std::move(client), mode,
                                                                        VL_DT_ContinuousProbeMeasResult);
  if (tracker.settings().integer(VL_C_SetStatisticMode, 4) == VL_SM_Extended)
    return std::make_unique<Stream<MultiMeasResult2T, PointTaker<MeasValue2T>>>(tracker, std::move(client), mode,
                                                                                VL_DT_MultiMeasResult2);
  return std::make_unique<Stream<MultiMeasResultT, PointTaker<MeasValueT>>>(tracker, std::move(client), mode,
                                                                            VL_DT_MultiMeasResult);
}

}  // namespace kestrine::simulator
