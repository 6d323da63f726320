// A stream from the socket to whoever counts it: by hand, and to an event handler.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include "bench/library_client.h"
#include "bench/server.h"

namespace kestrine::bench {
namespace {

constexpr std::size_t kPositions = 20'000;
constexpr std::size_t kBlocks = 400;

class Counter final : public SyncEvents {
 public:
  void ReflectorPositionData(double, double, double) override { ++seen; }
  void ContinuousPointMeasDataReady(std::int32_t, std::int32_t) override { ++seen; }

  std::size_t seen = 0;
};

// The servers stay for all rounds of a bench.
Server& positions() {
  static Server instance(position_burst(kPositions));
  return instance;
}
Server& blocks() {
  static Server instance(block_burst(kBlocks));
  return instance;
}

void by_hand(benchmark::State& state, Server& (*server)(), std::size_t packets) {
  const int client = connect_to(server().port());
  PacketReader reader(client);
  for (auto _ : state) {
    send_request(client, VL_C_StartMeasurement);
    for (std::size_t i = 0; i < packets + 1; ++i) reader.read_packet();
  }
  close(client);
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(packets));
}

void to_handler(benchmark::State& state, Server& (*server)(), std::size_t packets) {
  LibraryClient client(server().port());
  check(client.sync->SetMeasurementMode(VL_MM_ContinuousTime));
  const auto counter = Pointer<Counter>::adopt(new Counter);
  const Subscription subscription(*client.sync, DIID__ILTCommandSyncEvents, *counter);
  for (auto _ : state) {
    counter->seen = 0;
    check(client.sync->StartContinuousPointMeasurement());
    while (counter->seen < packets) host::run_for(std::chrono::milliseconds(1));
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(packets));
}

const auto in_real_time = [](auto* bench) { bench->UseRealTime()->Unit(benchmark::kMillisecond); };

BENCHMARK_CAPTURE(by_hand, positions, positions, kPositions)->Name("BM_PositionsByHand")->Apply(in_real_time);
BENCHMARK_CAPTURE(to_handler, positions, positions, kPositions)->Name("BM_PositionsToHandler")->Apply(in_real_time);
BENCHMARK_CAPTURE(by_hand, blocks, blocks, kBlocks)->Name("BM_BlocksByHand")->Apply(in_real_time);
BENCHMARK_CAPTURE(to_handler, blocks, blocks, kBlocks)->Name("BM_BlocksToHandler")->Apply(in_real_time);

}  // namespace
}  // namespace kestrine::bench
