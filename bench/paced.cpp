// What a connection costs while little comes and while nothing does: processor time for each packet of a paced stream,
// wake-ups and memory of an idle client.
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>

#include <ctime>
#include <deque>

#include "bench/library_client.h"
#include "bench/server.h"
#include "connection/receive_buffers.h"

namespace kestrine::bench {
namespace {

constexpr std::size_t kPackets = 250;  // a quarter of a second

Server& paced() {
  static Server instance(paced_positions(kPackets));
  return instance;
}

// Of the calling thread.
double processor_seconds() {
  timespec used{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
  return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) * 1e-9;
}

// How often the thread has gone to sleep.
double sleeps() {
  rusage usage{};
  getrusage(RUSAGE_THREAD, &usage);
  return static_cast<double>(usage.ru_nvcsw);
}

double allocated_bytes() {
  const auto info = mallinfo2();
  return static_cast<double>(info.uordblks + info.hblkhd);
}

void BM_PacedByHand(benchmark::State& state) {
  const int client = connect_to(paced().port());
  ReadAheadReader reader(client);
  for (auto _ : state) {
    send_request(client, VL_C_StartMeasurement);
    reader.read_packets();  // the answer, a packet's time before the stream
    const double before = processor_seconds();
    for (std::size_t seen = 0; seen < kPackets;) seen += reader.read_packets();
    state.SetIterationTime((processor_seconds() - before) / kPackets);
  }
  close(client);
}

void BM_PacedToHandler(benchmark::State& state) {
  LibraryStream stream(paced().port());
  for (auto _ : state) {
    stream.start(kPackets);
    const double before = processor_seconds();
    stream.run_to_the_end();
    state.SetIterationTime((processor_seconds() - before) / kPackets);
  }
}

// Of as many clients as make what they have in common, and blocks that lie ready at the allocator, of no account.
void BM_Idle(benchmark::State& state) {
  constexpr std::size_t kClients = 32;
  for (auto _ : state) {
    const double bytes = allocated_bytes();
    std::deque<LibraryClient> clients;
    for (std::size_t i = 0; i < kClients; ++i) clients.emplace_back(paced().port());
    state.counters["bytes"] = (allocated_bytes() - bytes) / kClients - sizeof(connection::ReceiveBuffers);
    const double before = sleeps();
    host::run_for(std::chrono::milliseconds(500));
    state.counters["wakeups"] = sleeps() - before - 1;  // the wait itself is one
  }
}

BENCHMARK(BM_PacedByHand)->UseManualTime()->Iterations(1);
BENCHMARK(BM_PacedToHandler)->UseManualTime()->Iterations(1);
BENCHMARK(BM_Idle)->UseRealTime()->Iterations(1);

}  // namespace
}  // namespace kestrine::bench
