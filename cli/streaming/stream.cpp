#include "cli/streaming/stream.h"

#include <algorithm>
#include <chrono>
#include <iostream>
#include <limits>
#include <string>

#include "cli/common/failure.h"
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
constexpr double kLongestRest = 2;  // seconds, for the points still on their way once the count is reached

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
};

bool is_complete(const StreamOptions& options, const Measurement& measurement) {
  if (options.mode->is_centre) return !measurement.points.empty();
  return options.count > 0 && measurement.points.size() >= options.count;
}

// By the tracker's clock or by ours, which a simulated tracker may outrun.
bool is_time_over(const StreamOptions& options, const Measurement& measurement, double now) {
  if (options.duration == 0) return false;
  const auto& points = measurement.points;
  return now >= options.duration || (!points.empty() && points.back().seconds >= options.duration);
}

double longest_silence(const StreamOptions& options, const StreamState& state) {
  if (state.count_reached) return kLongestRest;
  if (options.mode->spacing != Spacing::kTime) return std::numeric_limits<double>::infinity();
  return std::max(kLongestSilence, kLongestSilenceSteps * options.time_separation / 1000);
}

// Runs the loop until the stream is over.
End follow_stream(const StreamOptions& options, const StreamState& state, const Measurement& measurement) {
  const Stopwatch watch;
  const bool shown = !options.common.quiet && terminal::shows_progress();
  const bool centre = options.mode->is_centre;
  Progress progress(std::cerr, shown, {centre ? 0 : options.count, options.duration, centre});
  std::size_t known = 0;
  bool was_reached = false;
  double last_news = 0;
  while (!is_complete(options, measurement)) {
    if (!state.failure.empty()) return {Ending::kFailed, state.failure};
    if (terminal::stop_asked()) return {Ending::kStopped};
    const double now = watch.seconds();
    progress.update(measurement.points.size(), now);
    if (is_time_over(options, measurement, now)) return {Ending::kTimeOver};
    if (measurement.points.size() != known || state.count_reached != was_reached) last_news = now;
    known = measurement.points.size();
    was_reached = state.count_reached;
    if (now - last_news > longest_silence(options, state)) {
      if (was_reached) return {Ending::kIncomplete};
      return {Ending::kFailed, "the tracker sends no more points"};
    }
    host::run_for(kSlice);
  }
  return {Ending::kComplete};
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

End run_to_end(StreamSession& session, const StreamOptions& options, const Measurement& measurement) {
  try {
    session.start(options.probe);
  } catch (const Failure& failure) {
    return {Ending::kFailed, failure.what()};
  }
  End end = follow_stream(options, session.state(), measurement);
  // A tracker that has measured all that was asked for has stopped by itself.
  if (end.ending == Ending::kComplete || end.ending == Ending::kIncomplete) return end;
  const std::string failure = stop(session);
  // A centre that is stopped early may have too few points to be found; the user knows.
  const bool given_up = options.mode->is_centre && end.ending == Ending::kStopped && !session.state().lost;
  if (end.failure.empty() && !given_up) end.failure = failure;
  return end;
}

Completeness completeness_of(const StreamOptions& options, const StreamState& state, const Measurement& measurement,
                             Ending ending) {
  if (options.mode->is_centre) return check_centre(state.reception, ending == Ending::kStopped && !state.lost);
  const bool ended_by_user = ending == Ending::kStopped || ending == Ending::kTimeOver;
  Expectation expectation;
  // Only a user who ends a stream himself may leave the count unreached without anything being missing; the tracker
  // may have measured all of it by then.
  if (state.count_reached || !ended_by_user) expectation.points = options.count;
  expectation.cut_short = !ended_by_user;
  const Spacing spacing = options.mode->spacing;
  if (spacing == Spacing::kTime) expectation.seconds = options.time_separation / 1000.0;
  if (spacing == Spacing::kDistance) expectation.distance = options.separation;
  if (spacing == Spacing::kCells) expectation.cell = options.cell;
  const std::int32_t max_rate = measurement.tracker.max_rate;
  if (max_rate > 0) expectation.fastest_seconds = 1.0 / max_rate;
  return check_completeness(state.reception, expectation, measurement.points, *measurement.unit);
}

// What came while the end was noticed is more than was asked for.
void trim(const StreamOptions& options, Measurement& measurement) {
  if (options.mode->is_centre) return;
  if (options.count > 0) measurement.keep_first(options.count);
  if (options.duration == 0) return;
  const auto& points = measurement.points;
  const auto late =
      std::find_if(points.begin(), points.end(), [&](const Point& point) { return point.seconds >= options.duration; });
  measurement.keep_first(static_cast<std::size_t>(late - points.begin()));
}

}  // namespace

void measure_stream(StreamSession& session, const StreamOptions& options, Measurement& measurement,
                    std::optional<Completeness>& completeness) {
  session.set_mode(options);
  const End end = run_to_end(session, options, measurement);
  completeness = completeness_of(options, session.state(), measurement, end.ending);
  trim(options, measurement);
  if (!end.failure.empty()) throw Failure(end.failure);
  std::string missing;
  for (const auto& thing : completeness->missing) missing += (missing.empty() ? "" : "; ") + thing;
  if (!missing.empty()) throw Failure("not everything came: " + missing);
}

}  // namespace kestrine::cli
