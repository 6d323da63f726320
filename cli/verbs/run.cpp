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
std::exception_ptr collect(const CommonOptions& options, const Task& task, std::ostream& out, Measurement& measurement,
                           OutputFiles& files) {
  try {
    std::unique_ptr<simulator::Simulator> simulated;
    Endpoint endpoint = options.server;
    if (options.simulate) {
      const terminal::SignalsElsewhere signals;
      simulated = std::make_unique<simulator::Simulator>(
          simulator::Options{.seed = options.seed, .time_scale = 1 / options.speed});
      endpoint = {"127.0.0.1", simulated->port()};
    }
    Record record(measurement, files);
    task.measure(endpoint, out, measurement, record);
  } catch (const Stopped&) {
    return nullptr;
  } catch (...) {
    return std::current_exception();
  }
  return nullptr;
}

// For a user who has stopped the measurement.
std::string stopped_text(const Measurement& measurement) {
  const std::size_t count = measurement.count();
  if (measurement.kind == Kind::kCentre) {
    return count == 0 ? "stopped before there was a centre" : "stopped; the centre is that of the points until then";
  }
  return count == 0 ? "stopped before the first point" : "stopped after " + counted(count, "point");
}

}  // namespace

Outcome run(const CommonOptions& options, Kind kind, const Task& task) {
  terminal::watch_for_stop();
  OutputFiles files(options);
  host::set_behaviour(host::Behaviour::kModern);
  host::set_give_up_hook(terminal::stop_asked);
  std::ostream nowhere(nullptr);
  std::ostream& out = options.quiet ? nowhere : files.have_standard_output() ? std::cerr : std::cout;

  Measurement measurement;
  measurement.kind = kind;
  measurement.extended = options.extended;
  measurement.unit = &length_unit(options.length_unit);
  std::exception_ptr failure = collect(options, task, out, measurement, files);
  const bool stopped = terminal::stop_asked();
  task.summarise(out, measurement);
  try {
    if (measurement.count() > 0) files.finish(out, measurement);
  } catch (const Failure& unwritten) {
    if (failure) terminal::print_error(unwritten.what());
    if (!failure) failure = std::current_exception();
  }
  if (failure) std::rethrow_exception(failure);
  if (stopped) out << stopped_text(measurement) << std::endl;
  if (!stopped && measurement.count() == 0) throw Failure("the tracker sent no points");
  if (!stopped && !options.quiet && !out) throw Failure("cannot write to standard output");
  return stopped ? Outcome::kStopped : Outcome::kComplete;
}

}  // namespace kestrine::cli
