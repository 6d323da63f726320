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

void BM_RoundTrip(benchmark::State& state) {
  LibraryClient client(server().port());
  for (auto _ : state) check(client.sync->ReleaseMotors());
}

BENCHMARK(BM_RoundTripRaw)->UseRealTime();
BENCHMARK(BM_RoundTripByHand)->UseRealTime();
BENCHMARK(BM_RoundTrip)->UseRealTime();

}  // namespace
}  // namespace kestrine::bench
