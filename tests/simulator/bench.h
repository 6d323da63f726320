// A tracker on the bench: time that only the test moves, and clients that keep what they are sent.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <stdexcept>
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

using Codes = std::vector<std::int32_t>;
using Packets = std::vector<Bytes>;

struct RecordingClient : Client {
  void send(Bytes packet) override { packets.push_back(std::move(packet)); }
  std::size_t backlog() const override { return unread; }
  void answered() override { is_answered = true; }
  void close() override { is_closed = true; }

  Packets packets;
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

// The packets of one data type, in order.
inline Packets only(Packets packets, VL_DataType type) {
  std::erase_if(packets, [&](const Bytes& packet) { return type_of(packet) != type; });
  return packets;
}

// The first packet of one data type.
template <class Record>
Record first(const Packets& packets, VL_DataType type = VL_DT_Command) {
  const Bytes found = only(packets, type).at(0);
  if (found.size() != RecordTraits<Record>::size) throw std::runtime_error("a packet of another size");
  return read_as<Record>(found.data());
}
// The status changes among the packets.
inline Codes changes(const Packets& packets) {
  Codes codes;
  for (const Bytes& packet : only(packets, VL_DT_SystemStatusChange)) codes.push_back(code_of(packet));
  return codes;
}

template <class Packet>
auto elements(const Packets& packets, VL_DataType type) {
  using Element = typename RecordTraits<Packet>::Element;
  std::vector<Element> all;
  for (const Bytes& packet : only(packets, type)) {
    std::size_t at = RecordTraits<Packet>::header_size;
    EXPECT_EQ(packet.size(), at + wire::load_u32(packet.data() + 12) * RecordTraits<Element>::size);
    for (; at < packet.size(); at += RecordTraits<Element>::size) all.push_back(read_as<Element>(packet.data() + at));
  }
  return all;
}

inline std::vector<MeasValueT> points(const Packets& packets) {
  return elements<MultiMeasResultT>(packets, VL_DT_MultiMeasResult);
}

inline Vector values_of(const auto& record) {
  return vector(record.dVal1, record.dVal2, record.dVal3);
}

// Of vectors and of matrices.
template <class Derived>
void expect_near(const Eigen::MatrixBase<Derived>& actual, const typename Derived::PlainObject& expected,
                 double tolerance = 1e-9) {
  EXPECT_LE((actual - expected).cwiseAbs().maxCoeff(), tolerance) << actual << "\ninstead of\n" << expected;
}

inline protocol::Request set_system_settings(const SystemSettingsDataT& settings) {
  protocol::Request request(VL_C_SetSystemSettings, 12 + RecordTraits<SystemSettingsDataT>::size);
  write_record(settings, request.bytes.data() + 12);
  return request;
}
// As at the start, but for what the client wishes to be told.
inline SystemSettingsDataT told(bool changes, bool positions = false) {
  return {.bSendUnsolicitedMessages = changes,
          .bSendReflectorPositionData = positions,
          .bHasTiltra = 1,
          .bHasVideoCamera = 1};
}

// Initialised, or whatever else comes first.
struct Bench {
  explicit Bench(std::initializer_list<protocol::Request> requests = {build_Initialize()}, Options with = {})
      : options(std::move(with)), tracker(options, scheduler) {
    set_up(requests);
  }

  std::shared_ptr<RecordingClient> add_client() {
    auto added = std::make_shared<RecordingClient>();
    tracker.join(added);
    return added;
  }
  // Sends without waiting.
  void begin(const protocol::Request& request, const std::shared_ptr<RecordingClient>& asker) {
    asker->packets.clear();
    asker->is_answered = false;
    execute(tracker, asker, Bytes(request.bytes.begin(), request.bytes.begin() + request.size));
  }
  // Sends, waits as long as the tracker takes, and returns what came up to the answer.
  Packets ask(const protocol::Request& request, const std::shared_ptr<RecordingClient>& asker) {
    begin(request, asker);
    for (int i = 0; i < 3000 && !asker->is_answered; ++i) scheduler.advance(0.01);
    EXPECT_TRUE(asker->is_answered) << "command " << wire::load_i32(request.bytes.data() + 8);
    return asker->packets;
  }
  Packets ask(const protocol::Request& request) { return ask(request, client); }
  std::int32_t status(const protocol::Request& request) { return status_of(only(ask(request), VL_DT_Command).at(0)); }
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
  void listen() { set_up({set_system_settings(told(true))}); }
  // What comes while that much time passes.
  Packets after(double seconds) {
    client->packets.clear();
    scheduler.advance(seconds);
    return client->packets;
  }
  // What comes from the start of a measurement on, acknowledgement included.
  Packets measure(double seconds) {
    ask(build_StartMeasurement());
    scheduler.advance(seconds);
    return client->packets;
  }
  // The one packet of that type that a measurement brings in that time, acknowledged at once.
  template <class Record = SingleMeasResultT>
  Record measured(VL_DataType type = VL_DT_SingleMeasResult, double seconds = 4) {
    const Packets packets = measure(seconds);
    EXPECT_EQ(status_of(packets.at(0)), VL_RS_AllOK);
    EXPECT_EQ(only(packets, type).size(), 1u);
    return first<Record>(packets, type);
  }
  void set_units(VL_LengthUnit length, VL_AngleUnit angle = VL_AU_Degree,
                 VL_TemperatureUnit temperature = VL_TU_Celsius) {
    set_up({build_SetUnits(length, angle, temperature, VL_PU_Mbar, VL_HU_RH)});
  }

  Options options;
  ManualScheduler scheduler;
  Tracker tracker;
  PositionDisplay display{tracker};
  std::shared_ptr<RecordingClient> client = add_client();
};

template <class Base = Bench>
struct BenchTest : ::testing::Test, Base {};

}  // namespace kestrine::simulator
