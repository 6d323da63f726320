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

// The packets of one data type, in order.
inline std::vector<Bytes> only(const std::vector<Bytes>& packets, VL_DataType type) {
  std::vector<Bytes> found;
  std::copy_if(packets.begin(), packets.end(), std::back_inserter(found),
               [&](const Bytes& packet) { return type_of(packet) == type; });
  return found;
}

using Codes = std::vector<std::int32_t>;
using Packets = std::vector<Bytes>;

// The status changes among the packets.
inline Codes changes(const Packets& packets) {
  Codes codes;
  for (const Bytes& packet : only(packets, VL_DT_SystemStatusChange)) codes.push_back(code_of(packet));
  return codes;
}

template <class Packet, class Element>
std::vector<Element> elements(const std::vector<Bytes>& packets, VL_DataType type) {
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

inline std::vector<MeasValueT> points(const std::vector<Bytes>& packets) {
  return elements<MultiMeasResultT, MeasValueT>(packets, VL_DT_MultiMeasResult);
}

inline Vector values_of(const auto& record) {
  return vector(record.dVal1, record.dVal2, record.dVal3);
}

inline void expect_near(const Vector& actual, const Vector& expected, double tolerance = 1e-9) {
  EXPECT_LE((actual - expected).cwiseAbs().maxCoeff(), tolerance)
      << actual.transpose() << " instead of " << expected.transpose();
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
    execute(tracker, as_client, Bytes(request.bytes.begin(), request.bytes.begin() + request.size));
    for (int i = 0; i < 3000 && !asker.is_answered; ++i) scheduler.advance(0.01);
    EXPECT_TRUE(asker.is_answered) << "command " << wire::load_i32(request.bytes.data() + 8);
    return asker.packets;
  }
  std::vector<Bytes> ask(const protocol::Request& request) { return ask(*client, client, request); }

  std::int32_t status(const protocol::Request& request) {
    const auto answers = ask(request);
    const auto found =
        std::find_if(answers.begin(), answers.end(), [](const Bytes& p) { return type_of(p) <= VL_DT_Error; });
    return found == answers.end() ? -1 : status_of(*found);
  }
  template <class Record>
  Record answer(const protocol::Request& request) {
    const auto answers = only(ask(request), VL_DT_Command);
    if (answers.empty() || answers.front().size() != RecordTraits<Record>::size) {
      ADD_FAILURE() << "no such answer";
      return {};
    }
    return read_as<Record>(answers.front().data());
  }
  // The one packet of that type that comes while that much time passes.
  template <class Record>
  Record result(VL_DataType type, double seconds) {
    const auto results = only(after(seconds), type);
    EXPECT_EQ(results.size(), 1u);
    return results.size() == 1 ? read_as<Record>(results[0].data()) : Record{};
  }
  // What comes from the start of a measurement on, acknowledgement included.
  std::vector<Bytes> measure(double seconds) {
    std::vector<Bytes> packets = ask(protocol::build_StartMeasurement());
    const auto more = after(seconds);
    packets.insert(packets.end(), more.begin(), more.end());
    return packets;
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

template <class Base = Bench>
struct BenchTest : ::testing::Test, Base {};

}  // namespace kestrine::simulator
