// Calls of all kinds at once against a server that answers well, late, badly or not at all: no call may hand out what
// belongs to another one, and none may outlast its time. KESTRINE_RANDOM_SECONDS makes the run longer.
#include <chrono>
#include <cstdlib>
#include <map>
#include <optional>
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

Bytes number_answer(std::int32_t command, std::int32_t number) {
  Bytes bytes = packet(20, VL_DT_Command);
  put_i32(bytes, 8, command);
  put_i32(bytes, 16, number);
  return bytes;
}

Bytes point_result(std::int32_t number) {
  Bytes bytes = packet(156, VL_DT_SingleMeasResult);
  put_f64(bytes, 20, number);
  return bytes;
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
        if (command != VL_C_StartMeasurement) return number_answer(command, number);
        return answer(command, 0) + point_result(number);
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

// --- Classic: the first packet that releases a wait gives the call its status.

// The status that a packet ends a wait for command 8 with, if it does.
std::optional<std::int32_t> release_by(const Bytes& bytes) {
  const std::int32_t type = get_i32(bytes, 4);
  const std::int32_t word = get_i32(bytes, 8);
  switch (type) {
    case VL_DT_Command:
    case VL_DT_Error:
      return get_i32(bytes, 12);
    case VL_DT_SingleMeasResult:
    case VL_DT_SingleMeasResult2:
    case VL_DT_StationaryProbeMeasResult:
    case VL_DT_TiltraResult:
      return word;
    case VL_DT_SystemStatusChange:
      return word == 997 || word == 998 ? std::optional(VL_RS_Unknown + 0) : std::nullopt;
    default:
      return type > 11 && type < 1000 ? std::optional(VL_RS_Unknown + 0) : std::nullopt;
  }
}

class RandomClassicCalls : public ClientTest {};

TEST_F(RandomClassicCalls, EndWithTheFirstPacketThatReleases) {
  std::mt19937 random{std::random_device{}()};
  const auto choose = [&](std::size_t count) { return static_cast<std::int32_t>(random() % count); };
  constexpr std::int32_t kTypes[] = {0, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8, 8, 9, 10, 11, 12, 999, 1000};
  constexpr std::int32_t kChanges[] = {17, 26, 5, 110, 997, 998};
  set_timeout(u"StandardWaitTime", 15);
  const auto end = Clock::now() + time_to_run();
  while (Clock::now() < end && !HasFailure()) {
    start(kBoth);
    Bytes stream;
    std::optional<std::int32_t> expected;
    std::string arrivals;
    for (int count = choose(6); count > 0; --count) {
      const std::int32_t type = kTypes[choose(std::size(kTypes))];
      Bytes next = packet(type == VL_DT_SystemStatusChange ? 12 : 400, type);
      put_i32(next, 8, type == VL_DT_SystemStatusChange ? kChanges[choose(std::size(kChanges))] : choose(140));
      if (type != VL_DT_SystemStatusChange) put_i32(next, 12, choose(3));
      arrivals += std::to_string(type) + ":" + std::to_string(get_i32(next, 8)) + " ";
      if (!expected) expected = release_by(next);
      stream = stream + next;
    }
    if (!stream.empty()) peer.send(stream);
    const std::string outcome = told(commands->ReleaseMotors());
    const std::int32_t status = expected.value_or(VL_RS_Unknown);
    const std::string code = status == 0 ? "ok" : "80004005 " + std::to_string(status) + " ";
    const bool warns = status == 11 || status == 13 || status == 15 || status == 17 || status == 19 || status == 21;
    EXPECT_TRUE(outcome.starts_with(warns ? "1" : code)) << arrivals << ": " << outcome;
    EXPECT_EQ(outcome.ends_with("No answer, timed out!"), !expected) << arrivals;
    connection->DisconnectEmbeddedSystem();
    outlive_the_suspicion();
    heard();
  }
}

}  // namespace
}  // namespace kestrine::test
