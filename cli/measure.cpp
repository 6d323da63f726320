#include "cli/measure.h"

#include <iostream>
#include <string>

#include "cli/failure.h"
#include "cli/loss.h"
#include "cli/progress.h"
#include "cli/report.h"
#include "cli/session.h"
#include "cli/stopwatch.h"
#include "cli/terminal.h"

namespace kestrine::cli {
namespace {

// Hears that nobody is there any more: a call that waits only knows that it got no answer.
class LossListener : public SyncEvents {
 public:
  // Empty while somebody is.
  const std::string& loss() const { return loss_; }

  void StatusChangeEvent(VL_SystemStatusChange change) override {
    if (loss_.empty()) loss_ = loss_told_by(change);
  }

 private:
  std::string loss_;
};

void measure_series(Session& session, const MeasureOptions& options, std::ostream& out, Measurement& measurement) {
  const bool extended = options.common.extended;
  session.set_stationary_mode(options.measure_time, extended);
  print_table_head(out, *measurement.unit);
  const Stopwatch watch;
  Progress progress(std::cerr, !options.common.quiet && terminal::shows_progress(), {options.points, 0});
  double first = 0;
  while (measurement.points.size() < options.points && !terminal::stop_asked()) {
    progress.update(measurement.points.size(), watch.seconds());
    Point point = session.measure_point(extended);
    const double now = watch.seconds();
    if (measurement.points.empty()) first = now;
    point.seconds = now - first;
    measurement.points.push_back(point);
    progress.clear();
    print_table_row(out, *measurement.unit, std::to_string(measurement.points.size()), point);
  }
}

void measure_at(const Endpoint& endpoint, const MeasureOptions& options, std::ostream& out, Measurement& measurement) {
  Session session(endpoint.host, endpoint.port, warn);
  const auto listener = Pointer<LossListener>::adopt(new LossListener);
  const Subscription subscription(session.commands(), DIID__ILTCommandSyncEvents, *listener);
  try {
    session.set_units(*measurement.unit);
    session.initialise();
    measurement.tracker = session.identify();
    print_tracker(out, measurement.tracker, *measurement.unit);
    measure_series(session, options, out, measurement);
  } catch (const Error&) {
    if (!listener->loss().empty()) throw Failure(listener->loss());
    throw;
  }
}

}  // namespace

Outcome measure(const MeasureOptions& options) {
  const auto take = [&](const Endpoint& endpoint, std::ostream& out, Measurement& measurement) {
    measure_at(endpoint, options, out, measurement);
  };
  return run(options.common, Kind::kStationary, {take, print_table_foot});
}

}  // namespace kestrine::cli
