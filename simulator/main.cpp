// kestrine-simulator: the simulator as a program of its own, until it is interrupted.
#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <exception>

#include "kestrine/simulator.h"

namespace {

// Interrupts are waited for, not handled: blocked before any thread starts, they reach nobody else.
sigset_t block_interrupts() {
  sigset_t interrupts;
  sigemptyset(&interrupts);
  sigaddset(&interrupts, SIGINT);
  sigaddset(&interrupts, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &interrupts, nullptr);
  return interrupts;
}

}  // namespace

int main(int argc, char** argv) {
  kestrine::simulator::Options options;
  options.port = 7000;  // not the 700 of trackers: on Linux not everyone may listen there
  double speed = 1;
  CLI::App app{"A laser tracker's measurement server, simulated. It serves until it is interrupted (Ctrl-C)."};
  app.add_option("--port", options.port, "TCP port to listen on; 0 takes a free one")->capture_default_str();
  app.add_option("--address", options.address, "address to listen on")->capture_default_str();
  app.add_option("--seed", options.seed, "seed of the measurement noise")->capture_default_str();
  app.add_option("--speed", speed, "how many times faster than a real tracker; 0 waits for nothing at all")
      ->capture_default_str();
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp& help) {
    return app.exit(help);
  } catch (const CLI::ParseError& error) {
    std::fprintf(stderr, "kestrine-simulator: %s\n", error.what());
    return 2;
  }
  if (!(speed >= 0 && speed <= 1e6)) {  // this way round it refuses what is not a number, too
    std::fprintf(stderr, "kestrine-simulator: --speed must be between 0 and 1000000\n");
    return 2;
  }
  options.time_scale = speed > 0 ? 1 / speed : 0;

  const sigset_t interrupts = block_interrupts();
  try {
    const kestrine::simulator::Simulator simulator(options);
    std::printf("listening on %s:%d\n", options.address.c_str(), simulator.port());
    std::fflush(stdout);
    int caught = 0;
    sigwait(&interrupts, &caught);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "kestrine-simulator: %s\n", error.what());
    return 1;
  }
  return 0;
}
