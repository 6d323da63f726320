#include "cli/streaming/stream.h"

#include <algorithm>
#include <chrono>
#include <iostream>
#include <limits>
#include <string>

#include "cli/common/failure.h"
#include "cli/common/format.h"
#include "cli/common/terminal.h"
#include "cli/output/progress.h"
#include "kestrine/host.h"

namespace kestrine::cli {
namespace {

constexpr std::chrono::milliseconds kSlice{50};
// A stream by time without a new point for both of these has broken off. One by distance or by a grid may rest as long
// as its target does.
constexpr double kLongestSilence = 5;  // seconds
constexpr double kLongestSilenceSteps = 3;
constexpr double kLongestLag = 1;      // seconds, after the time at which the last point was due
constexpr double kLongestRest = 2;     // seconds, for the points still on their way once the count is reached
constexpr double kShortSilence = 0.3;  // seconds; what is longer is remarkable

enum class Ending {
  kComplete,    // all that was asked for came
  kIncomplete,  // the tracker has measured all that was asked for, but not all of it came
  kTimeOver,
  kStopped,  // by the user
  kFailed
};

struct End {
  Ending ending = Ending::kFailed;
  std::string failure = {};  // what went wrong, of kFailed
  double rest = 0;           // seconds since the latest point
  bool silent = false;       // although a point was due
};

// What a stream by time has to keep to, in seconds on our clock.
class Schedule {
 public:
  explicit Schedule(const StreamOptions& options)
      : by_time_(options.mode->spacing == Spacing::kTime && !options.mode->is_centre),
        slowness_(1 / std::min(options.common.speed, 1.0)),
        step_(options.time_separation / 1000.0 * slowness_) {
    const double most = static_cast<double>(options.count) * step_;
    const double duration = options.duration * slowness_;
    length_ = options.count == 0 ? duration : options.duration == 0 ? most : std::min(most, duration);
  }

  bool by_time() const { return by_time_; }
  double allowed(double seconds) const { return seconds * slowness_ + kLongestSilenceSteps * step_; }
  bool is_overdue(double since_first) const { return by_time_ && since_first > length_ + allowed(kLongestLag); }
  double longest_silence() const {
    if (!by_time_) return std::numeric_limits<double>::infinity();
    return std::max(kLongestSilence * slowness_, kLongestSilenceSteps * step_);
  }
  bool is_remarkable(double silence) const { return by_time_ && silence > allowed(kShortSilence); }

 private:
  bool by_time_;
  double slowness_;  // of a simulated tracker's clock
  double step_;      // from point to point
  double length_ = 0;
};

bool is_complete(const StreamOptions& options, const Measurement& measurement) {
  if (options.mode->is_centre) return measurement.count() > 0;
  return options.count > 0 && measurement.count() >= options.count;
}

// A stream by time ends with the tracker's clock, so that all of it comes; any other may have no point for long.
bool is_time_over(const StreamOptions& options, const Schedule& schedule, const Record& record, double now) {
  if (options.duration == 0) return false;
  return record.has_passed_end() || (!schedule.by_time() && now >= options.duration);
}

// Of a stream by time that is overdue.
std::string shortfall(const StreamOptions& options, const Measurement& measurement, bool silent) {
  if (measurement.count() == 0) return "the tracker sent no points";
  const std::string asked = options.count > 0 ? counted(options.count, "point") : shortest(options.duration) + " s";
  const std::string came =
      options.count > 0 ? std::to_string(measurement.count()) : fixed(measurement.last.seconds, 3) + " s";
  return (silent ? "the stream stopped early, after " : "the tracker is behind its time, at ") + came + " of " + asked;
}

// Runs the loop until the stream is over.
End follow_stream(const StreamOptions& options, const StreamState& state, const Record& record) {
  const Stopwatch watch;
  const Schedule schedule(options);
  const Measurement& measurement = record.measurement();
  const bool shown = !options.common.quiet && terminal::shows_progress();
  const bool centre = options.mode->is_centre;
  Progress progress(std::cerr, shown, {centre ? 0 : options.count, options.duration, centre});
  std::size_t known = 0;
  bool was_reached = false;
  double first_news = 0;
  double last_news = 0;
  const auto end = [&](Ending ending, const std::string& failure = {}) {
    const double rest = watch.seconds() - last_news;
    return End{ending, failure, rest, schedule.is_remarkable(rest)};
  };
  while (!is_complete(options, measurement)) {
    const double now = watch.seconds();
    if (measurement.count() != known || state.count_reached != was_reached) last_news = now;
    if (known == 0) first_news = last_news;
    known = measurement.count();
    was_reached = state.count_reached;
    if (!state.failure.empty()) return end(Ending::kFailed, state.failure);
    if (terminal::stop_asked()) return end(Ending::kStopped);
    progress.update(known, now);
    if (is_time_over(options, schedule, record, now)) return end(Ending::kTimeOver);
    const double silence = now - last_news;
    if (was_reached) {
      if (silence > kLongestRest) return end(Ending::kIncomplete);
    } else if (silence > schedule.longest_silence() ||
               (schedule.is_overdue(now - first_news) && (options.count == 0 || schedule.is_remarkable(silence)))) {
      return end(Ending::kFailed, shortfall(options, measurement, schedule.is_remarkable(silence)));
    }
    host::run_for(kSlice);
  }
  return end(Ending::kComplete);
}

// Returns what went wrong.
std::string stop(StreamSession& session) {
  try {
    if (!session.state().lost) session.stop();
    return {};
  } catch (const Failure& failure) {
    return failure.what();
  }
}

End run_to_end(StreamSession& session, const StreamOptions& options, const Record& record) {
  End end;
  try {
    session.start(options.probe);
    end = follow_stream(options, session.state(), record);
  } catch (const Failure& failure) {
    return {Ending::kFailed, failure.what()};
  } catch (const Stopped&) {
    end = {Ending::kStopped};
  }
  // A tracker that has measured all that was asked for has stopped by itself.
  if (end.ending == Ending::kComplete || end.ending == Ending::kIncomplete) return end;
  const bool resting = end.ending == Ending::kStopped && !options.mode->is_centre && end.rest > kShortSilence;
  if (end.silent || resting) session.expect_no_answer();
  const std::string failure = stop(session);
  if (failure.empty() || !end.failure.empty()) return end;
  const bool stopped = end.ending == Ending::kStopped && !session.state().lost;
  if (stopped && session.state().failure.empty()) {
    terminal::print_error(failure);  // who has stopped a silent tracker knows
    end.silent = true;
  } else if (!stopped || !options.mode->is_centre) {
    end.failure = failure;  // but a centre that is stopped early may have too few points to be found
  }
  return end;
}

Completeness completeness_of(const StreamOptions& options, const StreamState& state, const Record& record,
                             const End& end) {
  const bool stopped = end.ending == Ending::kStopped;
  if (options.mode->is_centre) return check_centre(state.reception, stopped && !state.lost);
  const bool ended_by_user = stopped || end.ending == Ending::kTimeOver;
  Expectation expectation;
  // Only a user who ends a stream himself may leave the count unreached without anything being missing; the tracker
  // may have measured all of it by then.
  if (state.count_reached || !ended_by_user) expectation.points = options.count;
  expectation.to_the_end = record.has_passed_end();
  expectation.cut_short = !expectation.to_the_end && (!ended_by_user || end.silent || !end.failure.empty());
  expectation.rest = end.rest;
  return check_completeness(state.reception, expectation, record.steps(), record.measurement());
}

Pitch pitch_of(const StreamOptions& options, const Measurement& measurement) {
  Pitch pitch;
  const Spacing spacing = options.mode->spacing;
  if (spacing == Spacing::kTime) pitch.seconds = options.time_separation / 1000.0;
  if (spacing == Spacing::kDistance) pitch.distance = options.separation;
  if (spacing == Spacing::kCells) pitch.cell = options.cell;
  const std::int32_t max_rate = measurement.tracker.max_rate;
  if (max_rate > 0) pitch.fastest_seconds = 1.0 / max_rate;
  return pitch;
}

}  // namespace

void measure_stream(StreamSession& session, const StreamOptions& options, Record& record,
                    std::optional<Completeness>& completeness) {
  session.set_mode(options);
  if (!options.mode->is_centre) {
    record.expect({options.count, options.duration}, pitch_of(options, record.measurement()));
  }
  const End end = run_to_end(session, options, record);
  completeness = completeness_of(options, session.state(), record, end);
  if (!end.failure.empty()) throw Failure(end.failure);
  if (end.ending == Ending::kStopped && end.silent) return;
  std::string missing;
  for (const auto& thing : completeness->missing) missing += (missing.empty() ? "" : "; ") + thing;
  if (!missing.empty()) throw Failure("not everything came: " + missing);
}

}  // namespace kestrine::cli
