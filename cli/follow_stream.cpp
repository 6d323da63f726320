#include "cli/follow_stream.h"

#include <algorithm>
#include <chrono>
#include <iostream>
#include <limits>

#include "cli/progress.h"
#include "cli/stopwatch.h"
#include "cli/terminal.h"
#include "kestrine/host.h"

namespace kestrine::cli {
namespace {

constexpr std::chrono::milliseconds kSlice{50};
// Points by the clock that stay away for so long, and for so many of their own steps, will not come any more. A target
// that is measured by its way may rest as long as it likes, until the tracker says that it has all.
constexpr double kLongestSilence = 5;  // seconds
constexpr double kLongestSilenceSteps = 3;
constexpr double kLongestRest = 2;  // seconds, for what is on its way when the tracker says so

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

double longest_silence(const StreamOptions& options, const StreamEvents& events) {
  if (events.count_reached()) return kLongestRest;
  if (options.mode->spacing != Spacing::kTime) return std::numeric_limits<double>::infinity();
  return std::max(kLongestSilence, kLongestSilenceSteps * options.time_separation / 1000);
}

}  // namespace

End follow_stream(const StreamOptions& options, const StreamEvents& events, const Measurement& measurement) {
  const Stopwatch watch;
  const bool shown = !options.common.quiet && terminal::shows_progress();
  const bool centre = options.mode->is_centre;
  Progress progress(std::cerr, shown, {centre ? 0 : options.count, options.duration, centre});
  std::size_t known = 0;
  bool was_reached = false;
  double last_news = 0;
  while (!is_complete(options, measurement)) {
    if (!events.failure().empty()) return {Ending::kFailed, events.failure()};
    if (terminal::stop_asked()) return {Ending::kStopped};
    const double now = watch.seconds();
    progress.update(measurement.points.size(), now);
    if (is_time_over(options, measurement, now)) return {Ending::kTimeOver};
    if (measurement.points.size() != known || events.count_reached() != was_reached) last_news = now;
    known = measurement.points.size();
    was_reached = events.count_reached();
    if (now - last_news > longest_silence(options, events)) {
      if (was_reached) return {Ending::kIncomplete};
      return {Ending::kFailed, "the tracker sends no more points"};
    }
    host::run_for(kSlice);
  }
  return {Ending::kComplete};
}

}  // namespace kestrine::cli
