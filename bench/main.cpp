// Runs every bench once in each of many rounds, all on one core, and prints what the library costs as ratios.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>
#include <vector>

#include "bench/report.h"
#include "bench/server.h"
#include "kestrine/host.h"

namespace {

constexpr int kRounds = 35;

void print(const kestrine::bench::Report& report) {
  std::printf("Times of a round: median [quartiles]\n");
  report.times();
  std::printf("\nRatios of a round: median [quartiles], client and server on one core\n");
  report.ratio("round trip by hand : raw", "RoundTripByHand", "RoundTripRaw");
  report.ratio("round trip : raw", "RoundTrip", "RoundTripRaw");
  report.ratio("36-byte positions, handler : by hand", "PositionsToHandler", "PositionsByHand");
  report.ratio("same, handler : read-ahead by hand", "PositionsToHandler", "PositionsByReadingAhead");
  report.ratio("36,048-byte blocks, handler : by hand", "BlocksToHandler", "BlocksByHand");
  report.ratio("processor time at 1 kHz, handler : by hand", "PacedToHandler", "PacedByHand");
  std::printf("32 connected clients, idle for half a second\n");
  report.counter("wake-ups of their thread", "Idle", "wakeups", "");
  report.counter("memory of each, beyond its receive buffers", "Idle", "bytes", "bytes");
  std::printf("From a whole packet to one typed sink\n");
  report.nanoseconds("position: loads and the handler's call alone", "PositionHandedOver");
  report.nanoseconds("position", "PositionDelivery");
  report.nanoseconds("reflector, with its name", "ReflectorDelivery");
  std::printf("Values out of packets: what a call costs beyond loads, and columns by the speed of a copy\n");
  constexpr int kElements = 1000;  // of a block, which is what one round reads
  report.beyond("ContinuousPointGetAt", "PointCalls", "PointLoads", kElements);
  report.beyond("ContinuousPoint2GetAt", "Point2Calls", "Point2Loads", kElements);
  report.beyond("ContinuousProbeDataGetAt", "ProbeCalls", "ProbeLoads", kElements);
  report.ratio("copy : columns, points in the cache", "PointBlockCopy", "PointBlockColumns");
  report.ratio("same, points with covariances", "Point2BlockCopy", "Point2BlockColumns");
  report.ratio("same, probe", "ProbeBlockCopy", "ProbeBlockColumns");
  report.ratio("copy : columns, a recording read", "RecordingCopy", "RecordingColumns");
  report.ratio("copy : columns, a recording collected", "CollectedCopy", "CollectedColumns");
  std::printf("kestrine::Tracker: what a member costs beyond the operation of the interface\n");
  report.beyond("GetUnits", "UnitsOfTracker", "UnitsOfInterface", 1);
  std::printf("Scripts: what a call by name costs beyond the typed one, its name looked up each time\n");
  report.beyond("GetConstant", "ConstantByName", "ConstantTyped", 1);
  report.beyond("ContinuousProbeDataGetAt", "ProbeByName", "ProbeTyped", 1);
}

}  // namespace

int main(int argc, char** argv) {
  kestrine::host::set_behaviour(kestrine::host::Behaviour::kModern);
  kestrine::bench::pin_to_one_core();
  std::vector<char*> arguments(argv, argv + argc);
  std::string shortly = "--benchmark_min_time=0.02";
  arguments.insert(arguments.begin() + 1, shortly.data());  // before the caller's own, which wins
  auto count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 1;
  kestrine::bench::Report report;
  for (int round = 0; round < kRounds; ++round) benchmark::RunSpecifiedBenchmarks(&report);
  print(report);
  return 0;
}
