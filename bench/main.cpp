// Runs every bench in interleaved rounds, all on one core, and prints what the library costs as ratios of medians.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "bench/server.h"
#include "kestrine/host.h"

namespace {

class RatioReporter final : public benchmark::ConsoleReporter {
 public:
  RatioReporter() : ConsoleReporter(OO_Tabular) {}

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median") {
        medians_[run.run_name.function_name] =
            run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
      }
    }
    ConsoleReporter::ReportRuns(runs);
  }

  void Finalize() override {
    std::printf("\nRatios of medians (client and server on one core)\n");
    ratio("round trip by hand : raw", "RoundTripByHand", "RoundTripRaw");
    ratio("round trip : raw", "RoundTrip", "RoundTripRaw");
    ratio("36-byte positions, handler : by hand", "PositionsToHandler", "PositionsByHand");
    ratio("36,048-byte blocks, handler : by hand", "BlocksToHandler", "BlocksByHand");
    std::printf("Values out of packets: what a call costs beyond loads, and columns by the speed of a copy\n");
    constexpr int kElements = 1000;  // of a block, which is what one round reads
    beyond("ContinuousPointGetAt", "PointCalls", "PointLoads", kElements);
    beyond("ContinuousPoint2GetAt", "Point2Calls", "Point2Loads", kElements);
    beyond("ContinuousProbeDataGetAt", "ProbeCalls", "ProbeLoads", kElements);
    ratio("copy : columns, points in the cache", "PointBlockCopy", "PointBlockColumns");
    ratio("same, points with covariances", "Point2BlockCopy", "Point2BlockColumns");
    ratio("same, probe", "ProbeBlockCopy", "ProbeBlockColumns");
    ratio("copy : columns, a recording read", "RecordingCopy", "RecordingColumns");
    ratio("copy : columns, a recording collected", "CollectedCopy", "CollectedColumns");
    std::printf("Scripts: what a call by name costs beyond the typed one, its name looked up each time\n");
    beyond("GetConstant", "ConstantByName", "ConstantTyped", 1);
    beyond("ContinuousProbeDataGetAt", "ProbeByName", "ProbeTyped", 1);
  }

 private:
  // The seconds that one round took; not a number when it was not run.
  double median(const std::string& name) const {
    const auto found = medians_.find("BM_" + name);
    return found == medians_.end() ? std::nan("") : found->second;
  }

  static void print(const char* what, double value, const char* format) {
    if (std::isnan(value)) return;
    std::printf("  %-40s ", what);
    std::printf(format, value);
  }

  void ratio(const char* what, const char* above, const char* below) const {
    print(what, median(above) / median(below), "%6.3f\n");
  }

  // Of one call of those in a round.
  void beyond(const char* what, const char* above, const char* below, int calls) const {
    print(what, (median(above) - median(below)) * 1e9 / calls, "%6.1f ns\n");
  }

  std::map<std::string, double> medians_;  // seconds
};

}  // namespace

int main(int argc, char** argv) {
  kestrine::host::set_behaviour(kestrine::host::Behaviour::kModern);
  kestrine::bench::pin_to_one_core();
  std::vector<char*> arguments(argv, argv + argc);
  std::string options[] = {"--benchmark_enable_random_interleaving=true", "--benchmark_repetitions=25",
                           "--benchmark_report_aggregates_only=true", "--benchmark_min_time=0.05"};
  // Before the caller's own, which win.
  for (std::string& option : options) arguments.insert(arguments.begin() + 1, option.data());
  auto count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 1;
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  return 0;
}
