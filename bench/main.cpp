// Runs every bench in interleaved rounds, all on one core, and prints what the library costs as ratios of medians.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "bench/server.h"

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
    ratio("round trip by hand : raw", "BM_RoundTripByHand", "BM_RoundTripRaw");
    ratio("round trip, early wake : raw", "BM_RoundTripEarlyWake", "BM_RoundTripRaw");
    ratio("36-byte positions, handler : by hand", "BM_PositionsToHandler", "BM_PositionsByHand");
    ratio("36,048-byte blocks, handler : by hand", "BM_BlocksToHandler", "BM_BlocksByHand");
    if (const auto slices = medians_.find("BM_RoundTripSlices"); slices != medians_.end()) {
      std::printf("  %-40s %6.2f ms\n", "round trip in slices", slices->second * 1e3);
    }
    std::printf("Values out of packets: what a call costs beyond loads, and columns by the speed of a copy\n");
    constexpr int kElements = 1000;  // of a block, which is what one round reads
    beyond("ContinuousPointGetAt", "BM_PointCalls", "BM_PointLoads", kElements);
    beyond("ContinuousPoint2GetAt", "BM_Point2Calls", "BM_Point2Loads", kElements);
    beyond("ContinuousProbeDataGetAt", "BM_ProbeCalls", "BM_ProbeLoads", kElements);
    ratio("copy : columns, points in the cache", "BM_PointBlock<PointCopy>", "BM_PointBlock<PointColumns>");
    ratio("same, points with covariances", "BM_Point2Block<Point2Copy>", "BM_Point2Block<Point2Columns>");
    ratio("same, probe", "BM_ProbeBlock<ProbeCopy>", "BM_ProbeBlock<ProbeColumns>");
    ratio("copy : columns, a recording read", "BM_Recording<PointCopy>", "BM_Recording<PointColumns>");
    ratio("copy : columns, a recording collected", "BM_Collected<PointCopy>", "BM_Collected<PointColumns>");
    std::printf("Scripts: what a call by name costs beyond the typed one, its name looked up each time\n");
    beyond("GetConstant", "BM_ConstantByName", "BM_ConstantTyped", 1);
    beyond("ContinuousProbeDataGetAt", "BM_ProbeByName", "BM_ProbeTyped", 1);
  }

 private:
  void ratio(const char* what, const char* above, const char* below) const {
    const auto high = medians_.find(above);
    const auto low = medians_.find(below);
    if (high == medians_.end() || low == medians_.end()) return;
    std::printf("  %-40s %6.3f\n", what, high->second / low->second);
  }

  // Told of one call of those in a round.
  void beyond(const char* what, const char* above, const char* below, int calls) const {
    const auto high = medians_.find(above);
    const auto low = medians_.find(below);
    if (high == medians_.end() || low == medians_.end()) return;
    std::printf("  %-40s %6.1f ns\n", what, (high->second - low->second) * 1e9 / calls);
  }

  std::map<std::string, double> medians_;  // seconds
};

}  // namespace

int main(int argc, char** argv) {
  kestrine::bench::pin_to_one_core();
  std::vector<char*> arguments(argv, argv + argc);
  std::string interleaved = "--benchmark_enable_random_interleaving=true";
  std::string repetitions = "--benchmark_repetitions=25";
  std::string aggregates = "--benchmark_report_aggregates_only=true";
  std::string shortest = "--benchmark_min_time=0.05";
  for (std::string* option : {&interleaved, &repetitions, &aggregates, &shortest}) {
    arguments.insert(arguments.begin() + 1, option->data());  // before the caller's own, which win
  }
  auto count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 1;
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  return 0;
}
