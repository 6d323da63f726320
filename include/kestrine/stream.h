// A continuous measurement of points as a range of blocks.
//
//   for (const auto& block : tracker.stream({.interval = 10ms, .duration = 10s})) {
//     for (const MeasValueT& point : block) ...
//   }
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <iterator>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "kestrine/continuous.h"
#include "kestrine/detail/tracker_core.h"

namespace kestrine {

struct StreamOptions {
  // Between two points. Nothing: the measurement mode stays as it is, with the parameters that have been set.
  std::optional<std::chrono::milliseconds> interval = std::nullopt;
  std::int32_t points = 0;                // 0: without an end
  std::chrono::milliseconds duration{0};  // 0: without an end; the points that have been measured by then still come
  std::chrono::milliseconds silence{10'000};  // for so long nothing may come
};

// Starts to measure when it is made and stops when it goes. Packet is MultiMeasResultT, or MultiMeasResult2T where the
// statistic mode says so. The thread's messages are delivered while a block is waited for.
// Its tracker must stay where it is, and open, for as long.
template <class Packet>
class Stream {
 public:
  using Block = ContinuousView<Packet>;

  // Throws Error for the end of the link, for an error of the server, and where nothing comes for too long.
  class Iterator {
   public:
    using iterator_category = std::input_iterator_tag;
    using value_type = Block;
    using difference_type = std::ptrdiff_t;

    explicit Iterator(Stream* stream = nullptr) : stream_(stream) {}
    // The block holds until the next one is asked for.
    const Block& operator*() const { return *stream_->block_; }
    const Block* operator->() const { return &*stream_->block_; }
    Iterator& operator++() {
      if (!stream_->next()) stream_ = nullptr;
      return *this;
    }
    void operator++(int) { ++*this; }
    bool operator==(const Iterator&) const = default;

   private:
    Stream* stream_;
  };

  Stream(detail::TrackerCore& tracker, const StreamOptions& options) : tracker_(tracker), options_(options) { start(); }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;
  ~Stream() {
    if (running_ && tracker_.connection_) tracker_.commands_->StopContinuousMeasurement();
  }

  Iterator begin() { return Iterator(next() ? this : nullptr); }
  Iterator end() const { return Iterator(); }

 private:
  using Clock = std::chrono::steady_clock;

  void start() {
    ILTCommandSync& commands = tracker_.commands();
    if (options_.interval) {
      tracker_.done(VL_C_SetMeasurementMode, commands.SetMeasurementMode(VL_MM_ContinuousTime));
      const auto interval = static_cast<std::int32_t>(options_.interval->count());
      tracker_.done(VL_C_SetContinuousTimeModeParams,
                    commands.SetContinuousTimeModeParams(interval, options_.points, VARIANT_FALSE, VL_RT_Sphere));
    }
    heard_.push_back(tracker_.subscribe([this](const ContinuousPointMeasDataReady&) {
      const kestrine::Packet packet(*tracker_.connection_);
      const auto bytes = packet.bytes();
      if (const auto block = Block::of(bytes)) {
        left_ -= static_cast<std::int64_t>(block->size());
        packets_.emplace_back(bytes.begin(), bytes.end());
      }
    }));
    heard_.push_back(tracker_.subscribe([this](const StatusChangeEvent& event) {
      if (event.statusChange == VL_SSC_ServerClosing) fail(Error(E_FAIL, 0, u"The server has closed", u""));
    }));
    heard_.push_back(tracker_.subscribe([this](const ErrorEvent& error) {
      if (!is_warning(error.status)) fail(take_error(E_FAIL).of(error.command, tracker_.host_));
    }));
    tracker_.done(VL_C_StartMeasurement, commands.StartContinuousPointMeasurement());
    running_ = true;
    last_ = start_ = Clock::now();
  }

  // False at the end.
  bool next() {
    if (!packets_.empty()) packets_.pop_front();
    while (packets_.empty()) {
      if (options_.points > 0 && left_ <= 0) return false;
      if (failure_) throw *failure_;
      const auto now = Clock::now();
      if (options_.duration.count() > 0 && now - start_ >= options_.duration && !stop()) return false;
      if (now - last_ > options_.silence) fail(Error(E_FAIL, 0, u"No points came for too long", u""));
      if (!host::run_for(std::chrono::milliseconds(1))) fail(Error(E_FAIL, 0, u"Given up", u""));
    }
    last_ = Clock::now();
    block_ = Block::of(packets_.front());
    return true;
  }
  // What has been measured comes before the answer. False when nothing has.
  bool stop() {
    if (!std::exchange(running_, false)) return false;
    tracker_.done(VL_C_StopMeasurement, tracker_.commands().StopContinuousMeasurement());
    return !packets_.empty();
  }
  void fail(Error error) {
    if (!failure_) failure_ = std::move(error).of(error.command(), tracker_.host_);
  }

  detail::TrackerCore& tracker_;
  const StreamOptions options_;
  std::vector<Subscription> heard_;
  std::deque<std::vector<std::uint8_t>> packets_;  // the first one is that of the block at hand
  std::optional<Block> block_;
  std::optional<Error> failure_;
  std::int64_t left_ = options_.points;
  bool running_ = false;
  Clock::time_point start_, last_;
};

}  // namespace kestrine
