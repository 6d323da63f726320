#include "cli/stream.h"

#include <algorithm>
#include <chrono>
#include <iostream>
#include <limits>
#include <string>
#include <vector>

#include "cli/failure.h"
#include "cli/format.h"
#include "cli/progress.h"
#include "cli/report.h"
#include "cli/stopwatch.h"
#include "cli/stream_session.h"
#include "cli/terminal.h"

namespace kestrine::cli {
namespace {

constexpr std::chrono::milliseconds kSlice{50};
// Points by the clock that stay away for so long, and for so many of their own steps, will not come any more. A target
// that is measured by its way may rest as long as it likes.
constexpr double kLongestSilence = 5;  // seconds
constexpr double kLongestSilenceSteps = 3;

class Streaming {
 public:
  Streaming(const StreamOptions& options, const StreamEvents& events, const Measurement& measurement)
      : options_(options), events_(events), measurement_(measurement) {}

  bool is_complete() const {
    if (events_.complete()) return true;
    if (options_.mode->is_centre) return !measurement_.points.empty();
    return options_.count > 0 && measurement_.points.size() >= options_.count;
  }

  // Runs until all is there, the time is over, the user stops it or nothing more can come. Returns what went wrong.
  std::string follow() const {
    const Stopwatch watch;
    const bool shown = !options_.common.quiet && terminal::shows_progress();
    const bool centre = options_.mode->is_centre;
    Progress progress(std::cerr, shown, {centre ? 0 : options_.count, options_.duration, centre});
    std::size_t known = 0;
    double last_news = 0;
    while (events_.failure().empty() && !is_complete() && !terminal::stop_asked()) {
      const double now = watch.seconds();
      progress.update(measurement_.points.size(), now);
      if (is_time_over(now)) return {};
      if (measurement_.points.size() != known) last_news = now;
      known = measurement_.points.size();
      if (now - last_news > longest_silence()) return "the tracker sends no more points";
      host::run_for(kSlice);
    }
    return is_complete() ? std::string() : events_.failure();
  }

 private:
  // By the tracker's clock or by ours, which a simulated tracker may outrun.
  bool is_time_over(double now) const {
    if (options_.duration == 0) return false;
    const auto& points = measurement_.points;
    return now >= options_.duration || (!points.empty() && points.back().seconds >= options_.duration);
  }
  double longest_silence() const {
    if (options_.mode->spacing != Spacing::kTime) return std::numeric_limits<double>::infinity();
    return std::max(kLongestSilence, kLongestSilenceSteps * options_.time_separation / 1000);
  }

  const StreamOptions& options_;
  const StreamEvents& events_;
  const Measurement& measurement_;
};

// What is known of a stream besides its points.
struct Statement {
  Reception reception;
  Completeness completeness;
};

Expectation expectation_of(const StreamOptions& options, const Tracker& tracker, bool complete) {
  Expectation expectation;
  if (options.mode->is_centre) return expectation;
  if (complete) expectation.points = options.count;
  if (options.mode->spacing == Spacing::kTime) expectation.seconds = options.time_separation / 1000.0;
  if (options.mode->spacing == Spacing::kDistance) expectation.distance = options.separation;
  if (tracker.max_rate > 0) expectation.fastest_seconds = 1.0 / tracker.max_rate;
  return expectation;
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

// A tracker that has measured all that was asked for has stopped by itself.
std::string stop(StreamSession& session) {
  try {
    if (!session.events().lost()) session.stop();
    return {};
  } catch (const Failure& failure) {
    return failure.what();
  }
}

std::string joined(const std::vector<std::string>& parts) {
  std::string text;
  for (const auto& part : parts) text += (text.empty() ? "" : "; ") + part;
  return text;
}

void measure_stream(StreamSession& session, const StreamOptions& options, Measurement& measurement,
                    Statement& statement) {
  session.set_mode(options);
  session.start(options.probe);
  const Streaming streaming(options, session.events(), measurement);
  std::string failure = streaming.follow();
  const bool complete = streaming.is_complete();
  if (!complete) {
    const std::string second = stop(session);
    // A centre that is stopped early may have too few points to be found; the user knows.
    const bool given_up = options.mode->is_centre && terminal::stop_asked() && !session.events().lost();
    if (failure.empty() && !given_up) failure = second;
  }
  statement.reception = session.events().reception();
  statement.completeness =
      check_completeness(statement.reception, expectation_of(options, measurement.tracker, complete),
                         measurement.points, *measurement.unit);
  trim(options, measurement);
  if (!failure.empty()) throw Failure(failure);
  const auto& missing = statement.completeness.missing;
  if (!missing.empty()) throw Failure("not everything came: " + joined(missing));
}

std::string manner_of(const StreamOptions& options) {
  const std::string unit = " " + options.common.length_unit;
  std::string manner;
  if (options.mode->is_centre) {
    manner = options.mode->of_point == VL_MM_SphereCenter ? "sphere from points " : "circle from points ";
  }
  if (options.mode->spacing == Spacing::kTime) manner = std::to_string(options.time_separation) + " ms apart";
  if (options.mode->spacing == Spacing::kDistance) manner += shortest(options.separation) + unit + " apart";
  if (options.mode->spacing == Spacing::kCells) {
    const auto& [x, y, z] = options.cell;
    manner = "in cells of " + shortest(x) + " × " + shortest(y) + " × " + shortest(z) + unit;
  }
  return manner + (options.probe ? ", with the probe" : "");
}

}  // namespace

Outcome stream(const StreamOptions& options) {
  Statement statement;
  const auto take = [&](const Endpoint& endpoint, std::ostream& out, Measurement& measurement) {
    measurement.manner = manner_of(options);
    measurement.spaced = options.mode->spacing != Spacing::kTime;
    measurement.extended |= options.probe;
    StreamSession session(endpoint, measurement);
    session.prepare();
    print_tracker(out, measurement.tracker, *measurement.unit);
    measure_stream(session, options, measurement, statement);
  };
  const auto sum_up = [&](std::ostream& out, const Measurement& measurement) {
    if (options.mode->is_centre) {
      print_centre(out, measurement);
    } else {
      print_stream_summary(out, measurement);
    }
    print_statement(out, statement.reception, statement.completeness, measurement.points.size());
  };
  return run(options.common, options.mode->is_centre ? Kind::kCentre : Kind::kStream, {take, sum_up});
}

}  // namespace kestrine::cli
