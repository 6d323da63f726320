// A command and its answer: raw, by hand, and through the library.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <array>

#include "bench/library_client.h"
#include "bench/server.h"

namespace kestrine::bench {
namespace {

Server& server() {
  static Server instance;
  return instance;
}

void BM_RoundTripRaw(benchmark::State& state) {
  const int client = connect_to(server().port());
  std::array<std::uint8_t, 16> answer;
  for (auto _ : state) {
    send_request(client, VL_C_ReleaseMotors);
    read_exactly(client, answer.data(), answer.size());
  }
  close(client);
}

void BM_RoundTripByHand(benchmark::State& state) {
  const int client = connect_to(server().port());
  PacketReader reader(client);
  for (auto _ : state) {
    send_request(client, VL_C_ReleaseMotors);
    reader.read_packet();
  }
  close(client);
}

void round_trips(benchmark::State& state, bool early_wake) {
  LibraryClient client(server().port(), early_wake);
  for (auto _ : state) check(client.sync->ReleaseMotors());
}

BENCHMARK(BM_RoundTripRaw)->UseRealTime();
BENCHMARK(BM_RoundTripByHand)->UseRealTime();
BENCHMARK_CAPTURE(round_trips, early_wake, true)->Name("BM_RoundTripEarlyWake")->UseRealTime();
BENCHMARK_CAPTURE(round_trips, slices, false)->Name("BM_RoundTripSlices")->UseRealTime()->Iterations(20);

}  // namespace
}  // namespace kestrine::bench
