// A million points, with a handler that stalls for a while.
#include <gtest/gtest.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "kestrine/kestrine.h"
#include "kestrine/simulator.h"

namespace kestrine::test {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kPoints = 1'000'000;

// Bytes that wait in whichever socket of the process has the most.
int most_unread() {
  constexpr int kMostDescriptors = 256;
  int most = 0;
  for (int each = 0; each < kMostDescriptors; ++each) {
    int unread = 0;
    if (::ioctl(each, FIONREAD, &unread) == 0) most = std::max(most, unread);
  }
  return most;
}

class Collector final : public AsyncEvents {
 public:
  explicit Collector(ILTConnect& connection) : connection_(connection) {}

  void CommandCompletedData(VL_Command command) override { completed = command; }
  void ErrorEvent(VL_Command command, VL_ResultStatus status) override {
    ADD_FAILURE() << "command " << command << ": status " << status;
    host::quit();
  }
  void ContinuousPointMeasDataReady(std::int32_t results, std::int32_t bytes) override {
    const Packet packet(connection_);
    const auto block = ContinuousView<MultiMeasResultT>::of(packet.bytes());
    ASSERT_TRUE(block && block->size() == static_cast<std::size_t>(results));
    ASSERT_EQ(packet.bytes().size(), static_cast<std::size_t>(bytes));
    for (const MeasValueT& point : *block) {
      // The tracker's own time is the number of milliseconds, and so the number of the point.
      const auto number = static_cast<std::size_t>(point.lTime1) * 1000 + static_cast<std::size_t>(point.lTime2) / 1000;
      if (number != received++) ++out_of_order;
    }
    if (stall_at != 0 && received >= stall_at) {
      stall_at = 0;
      const auto deadline = std::chrono::steady_clock::now() + 10s;
      while (most_unread() < 100'000 && std::chrono::steady_clock::now() < deadline) std::this_thread::yield();
      EXPECT_GE(most_unread(), 100'000) << "the server does not go on meanwhile";
    }
    if (received >= kPoints) host::quit();
  }

  VL_Command completed = VL_C_Unknown;
  std::size_t received = 0;
  std::size_t out_of_order = 0;
  std::size_t stall_at = 300'000;

 private:
  ILTConnect& connection_;
};

TEST(LongStream, ArrivesCompleteAndInOrderAlsoWhenTheHandlerStalls) {
  ASSERT_TRUE(host::set_behaviour(host::Behaviour::kModern));
  const simulator::Simulator simulator({.time_scale = 0, .block_points = 1000});
  const auto connection = create<ILTConnect>(CLSID_LTConnect);
  check(connection->ConnectEmbeddedSystem(Text("127.0.0.1"), simulator.port()));
  const auto tracker = command_async(*connection);
  const auto collector = Pointer<Collector>::adopt(new Collector(*connection));
  const Subscription subscription(*tracker, DIID__ILTCommandAsyncEvents, *collector);

  check(tracker->Initialize());
  while (collector->completed != VL_C_Initialize) ASSERT_TRUE(host::run_for(1ms));
  check(tracker->SetMeasurementMode(VL_MM_ContinuousTime));
  check(tracker->SetContinuousTimeModeParams(1, kPoints, VARIANT_FALSE, VL_RT_Sphere));
  check(tracker->StartContinuousPointMeasurement());
  EXPECT_FALSE(host::run_for(90s)) << "not all points came: " << collector->received;
  EXPECT_EQ(collector->received, kPoints);
  EXPECT_EQ(collector->out_of_order, 0u);
}

}  // namespace
}  // namespace kestrine::test
