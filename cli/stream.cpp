#include "cli/stream.h"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "cli/failure.h"
#include "cli/follow_stream.h"
#include "cli/format.h"
#include "cli/report.h"
#include "cli/stream_session.h"

namespace kestrine::cli {
namespace {

// What is known of a stream besides its points.
struct Statement {
  Reception reception;
  Completeness completeness;
};

// Only a user who ends a stream himself may leave the count unreached without anything being missing; the tracker
// may have measured all of it by then.
Expectation expectation_of(const StreamOptions& options, const Tracker& tracker, bool ended_by_user,
                           bool count_reached) {
  Expectation expectation;
  if (count_reached || !ended_by_user) expectation.points = options.count;
  expectation.cut_short = !ended_by_user;
  if (options.mode->spacing == Spacing::kTime) expectation.seconds = options.time_separation / 1000.0;
  if (options.mode->spacing == Spacing::kDistance) expectation.distance = options.separation;
  if (options.mode->spacing == Spacing::kCells) expectation.cell = options.cell;
  if (tracker.max_rate > 0) expectation.fastest_seconds = 1.0 / tracker.max_rate;
  return expectation;
}

Statement statement_of(const StreamOptions& options, const StreamEvents& events, const Measurement& measurement,
                       const End& end) {
  const Reception& reception = events.reception();
  if (options.mode->is_centre) {
    return {reception, check_centre(reception, end.ending == Ending::kStopped && !events.lost())};
  }
  const bool ended_by_user = end.ending == Ending::kStopped || end.ending == Ending::kTimeOver;
  const auto expectation = expectation_of(options, measurement.tracker, ended_by_user, events.count_reached());
  return {reception, check_completeness(reception, expectation, measurement.points, *measurement.unit)};
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

// Returns what went wrong.
std::string stop(StreamSession& session) {
  try {
    if (!session.events().lost()) session.stop();
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
  End end = follow_stream(options, session.events(), measurement);
  // A tracker that has measured all that was asked for has stopped by itself.
  if (end.ending == Ending::kComplete || end.ending == Ending::kIncomplete) return end;
  const std::string second = stop(session);
  // A centre that is stopped early may have too few points to be found; the user knows.
  const bool given_up = options.mode->is_centre && end.ending == Ending::kStopped && !session.events().lost();
  if (end.failure.empty() && !given_up) end.failure = second;
  return end;
}

std::string joined(const std::vector<std::string>& parts) {
  std::string text;
  for (const auto& part : parts) text += (text.empty() ? "" : "; ") + part;
  return text;
}

void measure_stream(StreamSession& session, const StreamOptions& options, Measurement& measurement,
                    std::optional<Statement>& statement) {
  session.set_mode(options);
  const End end = run_to_end(session, options, measurement);
  statement = statement_of(options, session.events(), measurement, end);
  trim(options, measurement);
  if (!end.failure.empty()) throw Failure(end.failure);
  const auto& missing = statement->completeness.missing;
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
  std::optional<Statement> statement;  // since the stream was started
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
    if (!measurement.points.empty()) {
      options.mode->is_centre ? print_centre(out, measurement) : print_stream_summary(out, measurement);
    }
    if (statement) print_statement(out, measurement, statement->reception, statement->completeness);
  };
  return run(options.common, options.mode->is_centre ? Kind::kCentre : Kind::kStream, {take, sum_up});
}

}  // namespace kestrine::cli
