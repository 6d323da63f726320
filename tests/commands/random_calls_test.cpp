// Calls of all kinds at once against a server that answers well, late, badly or not at all: no call may hand out what
// belongs to another one, and none may outlast its time. KESTRINE_RANDOM_SECONDS makes the run longer.
#include <chrono>
#include <cstdlib>
#include <map>
#include <random>

#include "client_test.h"
#include "kestrine/host.h"

namespace kestrine::test {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr int kWait = 40;  // milliseconds that a call waits

std::chrono::seconds time_to_run() {
  const char* const seconds = std::getenv("KESTRINE_RANDOM_SECONDS");
  return std::chrono::seconds(seconds == nullptr ? 2 : std::atoi(seconds));
}

// Deals with the requests in their order; the number of a request is its place in it, and the value in its answer.
class RandomServer {
 public:
  explicit RandomServer(unsigned seed) : random_(seed) {}

  Bytes answer_to(const Bytes& request) {
    const std::int32_t command = get_i32(request, 8);
    const std::int32_t number = received_++;
    Bytes out;
    if (choose(6) == 0) out = status_change(choose(2) == 0 ? 17 : 26);
    if (choose(30) == 0) out = out + answer(VL_C_Park, 1, VL_DT_Error);
    if (command == VL_C_GetReflectors) return out + packet(116, VL_DT_Command);
    const Bytes fate = fate_of(command, number);
    // Answers to one command keep their order, late ones too.
    Bytes& late = late_[command];
    if (choose(8) == 0) {
      late = late + fate;
      return out;
    }
    return out + std::exchange(late, {}) + fate;
  }

 private:
  std::size_t choose(std::size_t count) { return random_() % count; }

  Bytes fate_of(std::int32_t command, std::int32_t number) {
    switch (choose(12)) {
      case 0:
        return answer(command, VL_RS_ServerBusy);
      case 1:
        return answer(command, VL_RS_ServerBusy, VL_DT_Error);
      case 2:
        return {};
      default:
        if (command != VL_C_StartMeasurement) return answer_with(command, number);
        return answer(command, 0) + result(VL_DT_SingleMeasResult, 0, number);
    }
  }

  std::mt19937 random_;
  std::int32_t received_ = 0;
  std::map<std::int32_t, Bytes> late_;
};

class RandomCalls : public ClientTest {
 protected:
  RandomCalls() : ClientTest(connection::kModernRules) {
    for (const protocol::WaitRow& wait : protocol::wait_classes()) set_timeout(wait.key, kWait);
  }

  std::size_t choose(std::size_t count) { return random_() % count; }

  // A waiting call, and whether it kept its word.
  void call() {
    if (engine().is_answer_pending()) return;  // it would be refused
    connection->measurement().set_stationary_time(0);
    const std::int32_t mine = sent_++;
    const auto begin = Clock::now();
    std::int32_t number = -1;
    HRESULT result = E_UNEXPECTED;
    switch (choose(4)) {
      case 0:
        result = commands->GetReflector(&number);
        break;
      case 1:
        result = commands->GetProbe(&number);
        break;
      case 2: {
        VL_TrackerStatus status{};
        result = commands->GetTrackerStatus(&status);
        number = status;
        break;
      }
      default: {
        SingleMeasResultT point{};
        result = commands->MeasureStationaryPointEx(&point);
        number = static_cast<std::int32_t>(point.dVal1);
      }
    }
    ASSERT_LT(Clock::now() - begin, std::chrono::milliseconds(kWait) + 5s);
    if (result == S_OK) {
      ASSERT_EQ(number, mine) << "the answer to another request";
      ++good_;
    }
  }

  void send() {
    if (engine().is_answer_pending()) return;
    ++sent_;
    switch (choose(4)) {
      case 0:
        return void(commands->GetReflectors());
      case 1:
        return void(async_commands->GetReflector());
      case 2:
        return void(async_commands->MeasureStationaryPoint());
      default:
        return void(async_commands->GetTrackerStatus());
    }
  }

  HRESULT handle() {
    switch (choose(12)) {
      case 0:
        throw 1;
      case 1:
        if (nested_) return S_OK;
        nested_ = true;
        call();
        nested_ = false;
        return S_OK;
      case 2:
        send();
        return S_OK;
      default:
        return S_OK;
    }
  }

  std::mt19937 random_{std::random_device{}()};
  std::int32_t sent_ = 0;
  int good_ = 0;

 private:
  bool nested_ = false;
};

TEST_F(RandomCalls, HandOutTheirOwnAnswerOrFailInTheirTime) {
  const auto end = Clock::now() + time_to_run();
  make(kBoth);
  for (auto* listener : {&sync_listener, &async_listener}) (*listener)->handler = [this](DISPID) { return handle(); };
  while (Clock::now() < end && !HasFatalFailure()) {
    const auto seed = static_cast<unsigned>(random_());
    SCOPED_TRACE(seed);
    connect();
    RandomServer server(seed);
    sent_ = 0;
    peer.serve([&server](const Bytes& request) { return server.answer_to(request); });
    for (int step = 0; step < 60 && !HasFatalFailure(); ++step) {
      choose(3) == 0 ? send() : call();
      if (choose(4) == 0) host::dispatch();
    }
    connection->DisconnectEmbeddedSystem();
    peer.finish();
    heard();
  }
  EXPECT_GT(good_, 0);
}

}  // namespace
}  // namespace kestrine::test
