// A stream from the socket to whoever counts it: by hand, and to an event handler.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include "bench/library_client.h"
#include "bench/server.h"

namespace kestrine::bench {
namespace {

constexpr std::size_t kPositions = 20'000;
constexpr std::size_t kBlocks = 400;

Server& position_server() {
  static Server instance(position_burst(kPositions));
  return instance;
}

Server& block_server() {
  static Server instance(block_burst(kBlocks));
  return instance;
}

class Counter final : public SyncEvents {
 public:
  void ReflectorPositionData(double, double, double) override { ++seen; }
  void ContinuousPointMeasDataReady(std::int32_t, std::int32_t) override { ++seen; }

  std::size_t seen = 0;
};

void by_hand(benchmark::State& state, Server& server, std::size_t packets) {
  const int client = connect_to(server.port());
  PacketReader reader(client);
  for (auto _ : state) {
    send_request(client, VL_C_StartMeasurement);
    for (std::size_t i = 0; i < packets + 1; ++i) reader.read_packet();
  }
  close(client);
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(packets));
}

void to_handler(benchmark::State& state, Server& server, std::size_t packets) {
  LibraryClient client(server.port(), true);
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

void BM_PositionsByHand(benchmark::State& state) {
  by_hand(state, position_server(), kPositions);
}
void BM_PositionsToHandler(benchmark::State& state) {
  to_handler(state, position_server(), kPositions);
}
void BM_BlocksByHand(benchmark::State& state) {
  by_hand(state, block_server(), kBlocks);
}
void BM_BlocksToHandler(benchmark::State& state) {
  to_handler(state, block_server(), kBlocks);
}

BENCHMARK(BM_PositionsByHand)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PositionsToHandler)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BlocksByHand)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BlocksToHandler)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kestrine::bench
