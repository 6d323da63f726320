// A tracker on the bench: time that only the test moves, and clients that keep what they are sent.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "kestrine/records.h"
#include "kestrine/wire.h"
#include "protocol/requests.h"
#include "simulator/commands/commands.h"
#include "simulator/measuring/position_display.h"

namespace kestrine::simulator {
using namespace protocol;  // for the requests

class ManualScheduler : public Scheduler {
 public:
  double now() const override { return now_; }
  std::uint64_t after(double seconds, Pace, std::function<void()> task) override {
    tasks_.emplace(std::pair(now_ + std::max(0.0, seconds), ++last_), std::move(task));
    return last_;
  }
  void cancel(std::uint64_t number) override {
    std::erase_if(tasks_, [&](const auto& task) { return task.first.second == number; });
  }
  void advance(double seconds) {
    const double until = now_ + seconds;
    while (!tasks_.empty() && tasks_.begin()->first.first <= until) {
      now_ = tasks_.begin()->first.first;
      tasks_.extract(tasks_.begin()).mapped()();
    }
    now_ = until;
  }

 private:
  double now_ = 0;
  std::uint64_t last_ = 0;
  std::map<std::pair<double, std::uint64_t>, std::function<void()>> tasks_;
};

class RecordingClient : public Client {
 public:
  void send(Bytes packet) override { packets.push_back(std::move(packet)); }
  std::size_t backlog() const override { return unread; }
  void answered() override { is_answered = true; }
  void close() override { is_closed = true; }

  std::vector<Bytes> packets;
  std::size_t unread = 0;
  bool is_answered = false;
  bool is_closed = false;
};

inline std::int32_t type_of(const Bytes& packet) {
  return wire::load_i32(packet.data() + 4);
}
inline std::int32_t code_of(const Bytes& packet) {
  return wire::load_i32(packet.data() + 8);
}
inline std::int32_t status_of(const Bytes& answer) {
  return wire::load_i32(answer.data() + 12);
}

using Codes = std::vector<std::int32_t>;
using Packets = std::vector<Bytes>;
// The packets of one data type, in order.
inline Packets only(Packets packets, VL_DataType type) {
  std::erase_if(packets, [&](const Bytes& packet) { return type_of(packet) != type; });
  return packets;
}

// The first packet of one data type.
template <class Record>
Record first(const Packets& packets, VL_DataType type = VL_DT_Command) {
  const Packets found = only(packets, type);
  if (!found.empty() && found[0].size() == RecordTraits<Record>::size) return read_as<Record>(found[0].data());
  ADD_FAILURE() << "no such packet";
  return {};
}
// The status changes among the packets.
inline Codes changes(const Packets& packets) {
  Codes codes;
  for (const Bytes& packet : only(packets, VL_DT_SystemStatusChange)) codes.push_back(code_of(packet));
  return codes;
}

template <class Packet, class Element>
std::vector<Element> elements(const Packets& packets, VL_DataType type) {
  std::vector<Element> all;
  for (const Bytes& packet : only(packets, type)) {
    const auto count = static_cast<std::size_t>(wire::load_i32(packet.data() + 12));
    const std::size_t head = RecordTraits<Packet>::header_size;
    EXPECT_EQ(packet.size(), head + count * RecordTraits<Element>::size);
    for (std::size_t i = 0; i < count; ++i)
      all.push_back(read_as<Element>(packet.data() + head + i * RecordTraits<Element>::size));
  }
  return all;
}

inline std::vector<MeasValueT> points(const Packets& packets) {
  return elements<MultiMeasResultT, MeasValueT>(packets, VL_DT_MultiMeasResult);
}

inline Vector values_of(const auto& record) {
  return vector(record.dVal1, record.dVal2, record.dVal3);
}

inline void expect_near(const Vector& actual, const Vector& expected, double tolerance = 1e-9) {
  EXPECT_LE((actual - expected).cwiseAbs().maxCoeff(), tolerance)
      << actual.transpose() << " instead of " << expected.transpose();
}

inline void expect_near_matrix(const Matrix& actual, const Matrix& expected, double tolerance = 1e-9) {
  EXPECT_LE((actual - expected).cwiseAbs().maxCoeff(), tolerance) << actual << "\ninstead of\n" << expected;
}

inline SystemSettingsDataT client_settings(bool status_changes, bool positions = false) {
  SystemSettingsDataT settings;
  settings.bSendUnsolicitedMessages = status_changes;
  settings.bSendReflectorPositionData = positions;
  settings.bHasTiltra = settings.bHasVideoCamera = 1;  // as at the start
  return settings;
}

inline protocol::Request request_of(VL_Command command, const auto& record) {
  protocol::Request request(command,
                            static_cast<std::uint16_t>(12 + RecordTraits<std::decay_t<decltype(record)>>::size));
  write_record(record, request.bytes.data() + 12);
  return request;
}

struct Bench {
  explicit Bench(Options with = {}) : options(std::move(with)), tracker(options, scheduler) {}

  std::shared_ptr<RecordingClient> add_client() {
    auto added = std::make_shared<RecordingClient>();
    tracker.join(added);
    return added;
  }
  // Sends, waits as long as the tracker takes, and returns what came up to the answer.
  std::vector<Bytes> ask(RecordingClient& asker, const std::shared_ptr<Client>& as_client,
                         const protocol::Request& request) {
    asker.packets.clear();
    asker.is_answered = false;
    begin(as_client, request);
    for (int i = 0; i < 3000 && !asker.is_answered; ++i) scheduler.advance(0.01);
    EXPECT_TRUE(asker.is_answered) << "command " << wire::load_i32(request.bytes.data() + 8);
    return asker.packets;
  }
  std::vector<Bytes> ask(const protocol::Request& request) { return ask(*client, client, request); }
  // Sends without waiting.
  void begin(const std::shared_ptr<Client>& as_client, const protocol::Request& request) {
    execute(tracker, as_client, Bytes(request.bytes.begin(), request.bytes.begin() + request.size));
  }

  std::int32_t status(const protocol::Request& request) {
    for (const Bytes& each : ask(request)) {
      if (type_of(each) <= VL_DT_Error) return status_of(each);
    }
    return -1;
  }
  // The statuses of requests made one after the other.
  Codes statuses(std::initializer_list<protocol::Request> requests) {
    Codes all;
    for (const auto& each : requests) all.push_back(status(each));
    return all;
  }
  // Requests that the test builds upon, one after the other.
  void set_up(std::initializer_list<protocol::Request> requests) {
    EXPECT_EQ(statuses(requests), Codes(requests.size(), VL_RS_AllOK));
  }
  template <class Record>
  Record answer(const protocol::Request& request) {
    return first<Record>(ask(request));
  }
  Codes announced(const protocol::Request& request) { return changes(ask(request)); }
  void listen() { ask(request_of(VL_C_SetSystemSettings, client_settings(true))); }
  // The one packet of that type that comes while that much time passes.
  template <class Record>
  Record result(VL_DataType type, double seconds) {
    const Packets results = only(after(seconds), type);
    EXPECT_EQ(results.size(), 1u);
    return first<Record>(results, type);
  }
  // What comes from the start of a measurement on, acknowledgement included.
  std::vector<Bytes> measure(double seconds) {
    ask(protocol::build_StartMeasurement());
    scheduler.advance(seconds);
    return client->packets;
  }
  // What comes while that much time passes.
  std::vector<Bytes> after(double seconds) {
    client->packets.clear();
    scheduler.advance(seconds);
    return client->packets;
  }
  void set_units(VL_LengthUnit length, VL_AngleUnit angle = VL_AU_Degree,
                 VL_TemperatureUnit temperature = VL_TU_Celsius) {
    ask(protocol::build_SetUnits(length, angle, temperature, VL_PU_Mbar, VL_HU_RH));
  }
  void initialise() { ASSERT_EQ(status(protocol::build_Initialize()), VL_RS_AllOK); }

  Options options;
  ManualScheduler scheduler;
  Tracker tracker;
  PositionDisplay display{tracker};
  std::shared_ptr<RecordingClient> client = add_client();
};

struct ReadyBench : Bench {
  explicit ReadyBench(Options with = {}) : Bench(std::move(with)) { initialise(); }
};

template <class Base = Bench>
struct BenchTest : ::testing::Test, Base {};

}  // namespace kestrine::simulator
