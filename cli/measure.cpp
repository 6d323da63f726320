#include "cli/measure.h"

#include <chrono>
#include <exception>
#include <functional>
#include <iostream>
#include <memory>
#include <utility>
#include <vector>

#include "cli/chart.h"
#include "cli/failure.h"
#include "cli/listener.h"
#include "cli/output_file.h"
#include "cli/point_files.h"
#include "cli/progress.h"
#include "cli/report.h"
#include "cli/session.h"
#include "cli/terminal.h"
#include "kestrine/host.h"
#include "simulator/simulator.h"

namespace kestrine::cli {
namespace {

constexpr std::chrono::milliseconds kSlice{50};
// A stream that brings nothing for so long, and for so many of its own steps, has ended without saying so.
constexpr double kLongestSilence = 5;  // seconds
constexpr double kLongestSilenceSteps = 3;

class Stopwatch {
 public:
  double seconds() const { return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count(); }

 private:
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

// The files that were asked for; proved to be writable before anything is measured.
class Outputs {
 public:
  explicit Outputs(const MeasureOptions& options) {
    add(options.csv_file, write_csv);
    add(options.json_file, write_json_lines);
    add(options.svg_file, [](std::ostream& out, const Measurement& measurement) { out << draw_chart(measurement); });
  }

  void write(std::ostream& told, const Measurement& measurement) const {
    for (const auto& each : files_) {
      each.file.write([&](std::ostream& out) { each.writer(out, measurement); });
      told << "wrote " << each.file.name() << std::endl;
    }
  }

 private:
  using Writer = std::function<void(std::ostream&, const Measurement&)>;

  struct Output {
    OutputFile file;
    Writer writer;
  };

  void add(const std::string& name, Writer writer) {
    if (name.empty()) return;
    OutputFile file(name);
    for (const auto& other : files_) {
      if (other.file.target() == file.target()) throw Failure("two outputs have the same file, " + name);
    }
    files_.push_back({std::move(file), std::move(writer)});
  }

  std::vector<Output> files_;
};

void measure_series(Session& session, const MeasureOptions& options, std::ostream& out, Measurement& measurement) {
  session.set_stationary_mode(options.measure_time, options.extended);
  print_table_head(out, *measurement.unit);
  const Stopwatch watch;
  Progress progress(std::cerr, !options.quiet && terminal::shows_progress(), {options.points, 0});
  double first = 0;
  while (measurement.points.size() < options.points && !terminal::stop_asked()) {
    progress.update(measurement.points.size(), watch.seconds());
    Point point = session.measure_point(options.extended);
    const double now = watch.seconds();
    if (measurement.points.empty()) first = now;
    point.seconds = now - first;
    measurement.points.push_back(point);
    progress.clear();
    print_table_row(out, *measurement.unit, measurement.points.size(), point);
  }
}

// Runs until there are enough points, the time is over, the user stops it or no more points can come. Returns what
// went wrong.
std::string follow_stream(const Listener& listener, const MeasureOptions& options, const std::vector<Point>& points) {
  const Stopwatch watch;
  Progress progress(std::cerr, !options.quiet && terminal::shows_progress(), {options.count, options.duration});
  const double longest_silence = std::max(kLongestSilence, kLongestSilenceSteps * options.time_separation / 1000);
  std::size_t known = 0;
  double last_news = 0;
  while (listener.failure().empty() && !terminal::stop_asked()) {
    const double now = watch.seconds();
    progress.update(points.size(), now);
    if (options.count > 0 && points.size() >= options.count) return {};
    if (options.duration > 0 && now >= options.duration) return {};
    if (points.size() != known) last_news = now;
    known = points.size();
    if (now - last_news > longest_silence) return "the tracker sends no more points";
    host::run_for(kSlice);
  }
  return listener.failure();
}

void measure_stream(Session& session, const MeasureOptions& options, const Listener& listener,
                    std::vector<Point>& points) {
  session.set_stream_mode(options.time_separation, static_cast<std::int32_t>(options.count), options.extended);
  session.start_stream();
  const std::string failure = follow_stream(listener, options, points);
  // A tracker that has sent all points has stopped by itself. One that is stopped sends what it still holds first.
  const bool complete = options.count > 0 && points.size() >= options.count;
  try {
    if (!complete && !listener.lost()) session.stop_stream();
  } catch (const Error&) {
    if (failure.empty()) throw;
  }
  if (!failure.empty()) throw Failure(failure);
  // What came while the end was noticed is more than was asked for.
  if (complete) points.resize(options.count);
  if (options.duration > 0)
    std::erase_if(points, [&](const Point& point) { return point.seconds >= options.duration; });
}

void measure_with(Session& session, const MeasureOptions& options, std::ostream& out, Measurement& measurement) {
  const auto listener = Pointer<Listener>::adopt(new Listener(session.connection(), measurement.points));
  const Subscription subscription(session.commands(), DIID__ILTCommandSyncEvents, *listener);
  try {
    session.set_units(*measurement.unit);
    session.initialise();
    measurement.tracker = session.identify();
    print_tracker(out, measurement.tracker, *measurement.unit);
    if (options.stream) {
      measure_stream(session, options, *listener, measurement.points);
    } else {
      measure_series(session, options, out, measurement);
    }
  } catch (const Error&) {
    // The call that waited only knows that it got no answer.
    if (listener->lost()) throw Failure(listener->failure());
    throw;
  }
}

// Whatever ends the measurement early is returned, for what was measured until then is worth keeping.
std::exception_ptr collect(const MeasureOptions& options, std::ostream& out, Measurement& measurement) {
  try {
    std::unique_ptr<simulator::Simulator> simulated;
    std::string host = options.host;
    std::uint16_t port = options.port;
    if (options.simulate) {
      simulated = std::make_unique<simulator::Simulator>(
          simulator::Options{.seed = options.seed, .time_scale = 1 / options.speed});
      host = "127.0.0.1";
      port = simulated->port();
    }
    const auto warn = [](const std::string& text) { std::cerr << "kestrine: " << text << std::endl; };
    Session session(host, port, warn);
    measure_with(session, options, out, measurement);
  } catch (...) {
    return std::current_exception();
  }
  return nullptr;
}

}  // namespace

Outcome measure(const MeasureOptions& options) {
  const Outputs outputs(options);
  terminal::watch_for_stop();
  host::set_early_wake(true);
  std::ostream nowhere(nullptr);
  std::ostream& out = options.quiet ? nowhere : std::cout;

  Measurement measurement;
  measurement.kind = options.stream ? Kind::kStream : Kind::kStationary;
  measurement.extended = options.extended;
  measurement.unit = &length_unit(options.length_unit);
  const std::exception_ptr failure = collect(options, out, measurement);
  const bool stopped = terminal::stop_asked();
  if (!measurement.points.empty()) {
    if (options.stream) {
      print_stream_summary(out, measurement);
    } else {
      print_table_foot(out, measurement);
    }
    outputs.write(out, measurement);
  }
  if (failure) std::rethrow_exception(failure);
  if (stopped) out << "stopped after " << measurement.points.size() << " points" << std::endl;
  if (!stopped && measurement.points.empty()) throw Failure("the tracker sent no points");
  if (!options.quiet && !out) throw Failure("cannot write to standard output");
  return stopped ? Outcome::kStopped : Outcome::kComplete;
}

}  // namespace kestrine::cli
