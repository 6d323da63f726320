// Connects again and again to a server of the worst manners and counts what comes, at two sinks, for so long. Tells
// every packet that was lost, doubled or out of order, calls that fail, and memory or descriptors that are not given
// back.
#include <sys/prctl.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

#include "kestrine/continuous.h"
#include "kestrine/kestrine.h"
#include "soak/server.h"

namespace kestrine::soak {
namespace {

using std::chrono::milliseconds, std::chrono::seconds;
using Clock = std::chrono::steady_clock;

constexpr milliseconds kBetweenCalls{20};
constexpr seconds kPatience{30};  // without a packet
constexpr std::int64_t kPacketsToAStall = 300'000;
constexpr milliseconds kStall{50};
constexpr long long kGrowth = 1024 * 1024;  // bytes, which the allocator may keep

template <class Events>
class Counter final : public Events {
 public:
  Counter(ILTConnect& connection, bool stalls) : connection_(connection), stalls_(stalls) {}

  std::int64_t seen() const { return seen_; }
  std::int64_t wrong() const { return wrong_; }

 private:
  void ReflectorPositionData(double number, double, double) override { count(number == static_cast<double>(seen_)); }
  void ContinuousPointMeasDataReady(std::int32_t, std::int32_t) override {
    const Packet packet(connection_);
    const auto block = ContinuousView<MultiMeasResultT>::of(packet.bytes());
    bool good = block && block->size() == kBlockPoints;
    if (good) {
      for (const MeasValueT& point : *block) good = good && point.lTime1 == seen_;
    }
    count(good);
  }
  void count(bool good) {
    if (!good) ++wrong_;
    ++seen_;
    if (stalls_ && seen_ % kPacketsToAStall == 0) std::this_thread::sleep_for(kStall);
  }

  ILTConnect& connection_;
  const bool stalls_;
  std::int64_t seen_ = 0;
  std::int64_t wrong_ = 0;
};

// One connection until the server has sent all. What was wrong, or nothing.
std::string run_session(std::uint16_t port, std::int64_t packets) {
  const auto connection = create<ILTConnect>(CLSID_LTConnect);
  check(connection->ConnectEmbeddedSystem(Text("127.0.0.1"), port));
  const auto sync = command_sync(*connection);
  const auto async = command_async(*connection);
  const auto first = Pointer<Counter<SyncEvents>>::adopt(new Counter<SyncEvents>(*connection, true));
  const auto second = Pointer<Counter<AsyncEvents>>::adopt(new Counter<AsyncEvents>(*connection, false));
  {
    const Subscription one(*sync, DIID__ILTCommandSyncEvents, *first);
    const Subscription other(*async, DIID__ILTCommandAsyncEvents, *second);
    check(sync->SetMeasurementMode(VL_MM_ContinuousTime));
    int calls = 1;
    auto progress = Clock::now();
    while (second->seen() < packets && Clock::now() - progress < kPatience) {
      const std::int64_t before = second->seen();
      host::run_for(kBetweenCalls);
      if (calls < kCalls) check(sync->ReleaseMotors()), ++calls;
      if (second->seen() != before) progress = Clock::now();
    }
  }
  connection->DisconnectEmbeddedSystem();
  const std::int64_t wrong = first->wrong() + second->wrong();
  if (wrong == 0 && first->seen() == packets && second->seen() == packets) return "";
  return "of " + std::to_string(packets) + " packets came " + std::to_string(first->seen()) + " and " +
         std::to_string(second->seen()) + ", " + std::to_string(wrong) + " of them not in their turn";
}

std::int64_t resident_bytes() {
  std::ifstream file("/proc/self/statm");
  std::int64_t all = 0, resident = 0;
  file >> all >> resident;
  return resident * sysconf(_SC_PAGESIZE);
}

std::ptrdiff_t open_descriptors() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

int run(seconds duration, std::int64_t packets) {
  host::set_behaviour(host::Behaviour::kModern);
  Server server(packets);
  if (fork() == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    server.serve();
  }
  const auto start = Clock::now();
  long long sessions = 0, resident = 0;
  std::ptrdiff_t descriptors = 0;
  do {
    const std::string fault = run_session(server.port(), packets);
    if (!fault.empty()) return std::puts(fault.c_str()), 1;
    // The first ones fill what the process keeps for later.
    if (++sessions == 2) resident = resident_bytes(), descriptors = open_descriptors();
  } while (Clock::now() - start < duration || sessions < 3);
  const long long growth = resident_bytes() - resident;
  const std::ptrdiff_t more = open_descriptors() - descriptors;
  const double time = std::chrono::duration<double>(Clock::now() - start).count();
  std::printf(
      "%lld packets to each of two sinks, in %.0f s and %lld connections: none lost; since the second connection "
      "%lld kB and %td descriptors more\n",
      sessions * packets, time, sessions, growth / 1024, more);
  return growth < kGrowth && more == 0 ? 0 : 1;
}

}  // namespace
}  // namespace kestrine::soak

int main(int argc, char** argv) {
  const long duration = argc > 1 ? std::atol(argv[1]) : 0;
  const long packets = argc > 2 ? std::atol(argv[2]) : 1'000'000;
  if (duration <= 0 || packets <= 0) {
    std::fputs("usage: kestrine_soak SECONDS [PACKETS-OF-A-CONNECTION]\n", stderr);
    return 2;
  }
  try {
    return kestrine::soak::run(std::chrono::seconds(duration), packets);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "kestrine_soak: %s\n", error.what());
    return 1;
  }
}
