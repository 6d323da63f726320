// A stream from the socket to whoever counts it: by hand, by hand with reading ahead,
// and to an event handler.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include "bench/library_client.h"
#include "bench/server.h"

namespace kestrine::bench {
namespace {

constexpr std::size_t kPositions = 20'000;
constexpr std::size_t kBlocks = 400;

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

void by_reading_ahead(benchmark::State& state) {
  const int client = connect_to(positions().port());
  ReadAheadReader reader(client);
  for (auto _ : state) {
    send_request(client, VL_C_StartMeasurement);
    for (std::size_t seen = 0; seen < kPositions + 1;) seen += reader.read_packets();
  }
  close(client);
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kPositions));
}

void to_handler(benchmark::State& state, Server& (*server)(), std::size_t packets) {
  LibraryStream stream(server().port());
  for (auto _ : state) {
    stream.start(packets);
    stream.run_to_the_end();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(packets));
}

const auto in_real_time = [](auto* bench) { bench->UseRealTime()->Unit(benchmark::kMillisecond); };

BENCHMARK_CAPTURE(by_hand, positions, positions, kPositions)->Name("BM_PositionsByHand")->Apply(in_real_time);
BENCHMARK(by_reading_ahead)->Name("BM_PositionsByReadingAhead")->Apply(in_real_time);
BENCHMARK_CAPTURE(to_handler, positions, positions, kPositions)->Name("BM_PositionsToHandler")->Apply(in_real_time);
BENCHMARK_CAPTURE(by_hand, blocks, blocks, kBlocks)->Name("BM_BlocksByHand")->Apply(in_real_time);
BENCHMARK_CAPTURE(to_handler, blocks, blocks, kBlocks)->Name("BM_BlocksToHandler")->Apply(in_real_time);

}  // namespace
}  // namespace kestrine::bench
