#include "cli/streaming.h"

#include <algorithm>
#include <chrono>
#include <iostream>
#include <limits>

#include "cli/progress.h"
#include "cli/stopwatch.h"
#include "cli/terminal.h"

namespace kestrine::cli {
namespace {

constexpr std::chrono::milliseconds kSlice{50};
// Points by the clock that stay away for so long, and for so many of their own steps, will not come any more. A target
// that is measured by its way may rest as long as it likes, until the tracker says that it has all.
constexpr double kLongestSilence = 5;  // seconds
constexpr double kLongestSilenceSteps = 3;
constexpr double kLongestRest = 2;  // seconds, for what is on its way when the tracker says so

}  // namespace

End Streaming::follow() const {
  const Stopwatch watch;
  const bool shown = !options_.common.quiet && terminal::shows_progress();
  const bool centre = options_.mode->is_centre;
  Progress progress(std::cerr, shown, {centre ? 0 : options_.count, options_.duration, centre});
  std::size_t known = 0;
  bool was_reached = false;
  double last_news = 0;
  while (!is_complete()) {
    if (!events_.failure().empty()) return {Ending::kFailed, events_.failure()};
    if (terminal::stop_asked()) return {Ending::kStopped};
    const double now = watch.seconds();
    progress.update(measurement_.points.size(), now);
    if (is_time_over(now)) return {Ending::kTimeOver};
    if (measurement_.points.size() != known || events_.count_reached() != was_reached) last_news = now;
    known = measurement_.points.size();
    was_reached = events_.count_reached();
    if (now - last_news > longest_silence()) {
      if (was_reached) return {Ending::kIncomplete};
      return {Ending::kFailed, "the tracker sends no more points"};
    }
    host::run_for(kSlice);
  }
  return {Ending::kComplete};
}

bool Streaming::is_complete() const {
  if (options_.mode->is_centre) return !measurement_.points.empty();
  return options_.count > 0 && measurement_.points.size() >= options_.count;
}

// By the tracker's clock or by ours, which a simulated tracker may outrun.
bool Streaming::is_time_over(double now) const {
  if (options_.duration == 0) return false;
  const auto& points = measurement_.points;
  return now >= options_.duration || (!points.empty() && points.back().seconds >= options_.duration);
}

double Streaming::longest_silence() const {
  if (events_.count_reached()) return kLongestRest;
  if (options_.mode->spacing != Spacing::kTime) return std::numeric_limits<double>::infinity();
  return std::max(kLongestSilence, kLongestSilenceSteps * options_.time_separation / 1000);
}

}  // namespace kestrine::cli
