#include "cli/verbs/run.h"

#include <exception>
#include <iostream>
#include <memory>

#include "cli/common/failure.h"
#include "cli/common/format.h"
#include "cli/common/terminal.h"
#include "cli/output/files.h"
#include "kestrine/host.h"
#include "kestrine/simulator.h"

namespace kestrine::cli {
namespace {

// Whatever ends the measurement early is returned, for what was measured until then is worth keeping.
std::exception_ptr collect(const CommonOptions& options, const Task& task, std::ostream& out,
                           Measurement& measurement) {
  try {
    std::unique_ptr<simulator::Simulator> simulated;
    Endpoint endpoint = options.server;
    if (options.simulate) {
      simulated = std::make_unique<simulator::Simulator>(
          simulator::Options{.seed = options.seed, .time_scale = 1 / options.speed});
      endpoint = {"127.0.0.1", simulated->port()};
    }
    task.measure(endpoint, out, measurement);
  } catch (const Stopped&) {
    return nullptr;
  } catch (...) {
    return std::current_exception();
  }
  return nullptr;
}

// For a user who has stopped the measurement.
std::string stopped_text(const Measurement& measurement) {
  const auto& points = measurement.points;
  if (measurement.kind == Kind::kCentre) {
    return points.empty() ? "stopped before there was a centre"
                          : "stopped; the centre is that of the points until then";
  }
  return points.empty() ? "stopped before the first point" : "stopped after " + counted(points.size(), "point");
}

}  // namespace

Outcome run(const CommonOptions& options, Kind kind, const Task& task) {
  const OutputFiles files(options);
  terminal::watch_for_stop();
  host::set_behaviour(host::Behaviour::kModern);
  std::ostream nowhere(nullptr);
  std::ostream& out = options.quiet ? nowhere : std::cout;

  Measurement measurement;
  measurement.kind = kind;
  measurement.extended = options.extended;
  measurement.unit = &length_unit(options.length_unit);
  const std::exception_ptr failure = collect(options, task, out, measurement);
  const bool stopped = terminal::stop_asked();
  task.summarise(out, measurement);
  if (!measurement.points.empty()) files.write(out, measurement);
  if (failure) std::rethrow_exception(failure);
  if (stopped) out << stopped_text(measurement) << std::endl;
  if (!stopped && measurement.points.empty()) throw Failure("the tracker sent no points");
  if (!options.quiet && !out) throw Failure("cannot write to standard output");
  return stopped ? Outcome::kStopped : Outcome::kComplete;
}

}  // namespace kestrine::cli
