// Every event of both interfaces, fired from its packet with random fields.
#include <algorithm>
#include <string_view>
#include <vector>

#include "client_test.h"
#include "protocol/catalogue.h"
#include "random_packet.h"

namespace kestrine::test {
namespace {

constexpr std::int32_t kBadStatus = 5;

// Whether a bad status of the packet keeps an event back and is told as an ErrorEvent instead.
enum class Tested {
  kNever,
  kOnce,      // for each interface, for all the events of the packet together
  kEachTime,  // for each interface and each event
  kAsyncOnly,
};

// A kind of packet with the events that it fires.
struct Firing {
  std::int32_t type;
  std::int32_t command;  // of an answer or an error packet; else what a bad status is told of
  std::int32_t mode;     // that the measurement is made in, or -1
  std::vector<const protocol::MemberRow*> async_events;
  const protocol::MemberRow* sync_event;
  Tested tested;

  const protocol::TypeRow& record() const {
    return type == VL_DT_Command ? *protocol::find_command(command)->answer : *protocol::find_packet(type)->record;
  }
};

const protocol::MemberRow* find_event(std::span<const protocol::MemberRow> events, std::string_view name) {
  const auto found = std::ranges::find(events, name, &protocol::MemberRow::name);
  return found == events.end() ? nullptr : &*found;
}

// What is no answer: the dispatcher knows these packets one by one.
std::vector<Firing> packets_that_fire() {
  using enum Tested;
  const struct {
    std::int32_t type, command, mode;
    const char* event;
    bool also_sync;
    Tested tested;
  } packets[] = {
      {VL_DT_Error, VL_C_Unknown, -1, "ErrorEvent", true, kNever},
      {VL_DT_Error, VL_C_Park, -1, "ErrorEvent", false, kNever},
      {VL_DT_SystemStatusChange, 0, -1, "StatusChangeEvent", true, kNever},
      {VL_DT_MultiMeasResult, 0, -1, "ContinuousPointMeasDataReady", true, kNever},
      {VL_DT_MultiMeasResult2, 0, -1, "ContinuousPointMeasDataReady", true, kNever},
      {VL_DT_ContinuousProbeMeasResult, 0, -1, "ContinuousProbeMeasDataReady", true, kNever},
      {VL_DT_ReflectorPosResult, 0, -1, "ReflectorPositionData", true, kNever},
      {VL_DT_ProbePosResult, 0, -1, "ProbePositionData", true, kNever},
      {VL_DT_TiltraResult, VL_C_StartTiltraMeasurement, -1, "TiltraMeasurementData", false, kOnce},
      {VL_DT_SingleMeasResult, VL_C_StartMeasurement, VL_MM_SphereCenter, "CenterPointData", true, kAsyncOnly},
      {VL_DT_SingleMeasResult2, VL_C_StartMeasurement, VL_MM_SphereCenter, "CenterPoint2Data", true, kAsyncOnly},
      {VL_DT_SingleMeasResult, VL_C_StartMeasurement, VL_MM_Stationary, "StationaryPointMeasData", true, kAsyncOnly},
      {VL_DT_SingleMeasResult2, VL_C_StartMeasurement, VL_MM_Outdoor, "StationaryPoint2MeasData", true, kAsyncOnly},
      {VL_DT_StationaryProbeMeasResult, VL_C_StartMeasurement, VL_MM_Standard, "StationaryProbeMeasData", true, kOnce},
      {VL_DT_StationaryProbeMeasResult, VL_C_StartMeasurement, VL_MM_6DStationary, "StationaryProbeMeasData", false,
       kOnce},
      {VL_DT_StationaryProbeMeasResult, VL_C_StartMeasurement, VL_MM_SphereCenter, "CenterPointProbeData", true,
       kAsyncOnly},
  };
  std::vector<Firing> all;
  for (const auto& [type, command, mode, event, also_sync, tested] : packets) {
    const auto* const sync_event = also_sync ? find_event(protocol::sync_events(), event) : nullptr;
    all.push_back({type, command, mode, {find_event(protocol::async_events(), event)}, sync_event, tested});
  }
  return all;
}

std::vector<Firing> all_firings() {
  std::vector<Firing> all = packets_that_fire();
  const protocol::MemberRow* const completed = find_event(protocol::async_events(), "CommandCompletedData");
  for (const protocol::CommandRow& row : protocol::commands()) {
    if (row.answer == nullptr) continue;
    const Tested tested = !row.status_tested        ? Tested::kNever
                          : row.status_tested_twice ? Tested::kEachTime
                                                    : Tested::kOnce;
    Firing firing{VL_DT_Command, row.code, -1, {row.async_event}, row.sync_event, tested};
    if (row.async_event == nullptr) firing.async_events = {completed};
    if (row.async_event2 != nullptr) firing.async_events.push_back(row.async_event2);
    all.push_back(firing);
  }
  return all;
}

class EventWalk : public ClientTest, public testing::WithParamInterface<int> {
 protected:
  Bytes packet_of(const Firing& row, std::int32_t status) {
    Bytes bytes = random_packet(row.record(), row.type, random);
    const bool names_command = row.type == VL_DT_Command || row.type == VL_DT_Error;
    if (names_command) put_i32(bytes, 8, row.command);
    if (row.type != VL_DT_SystemStatusChange) put_i32(bytes, names_command ? 12 : 8, status);
    if (row.type == VL_DT_StationaryProbeMeasResult) put_i32(bytes, 12, row.mode);
    return bytes;
  }

  Lines fire(const Firing& row, const Bytes& bytes) {
    connection->measurement().set_mode(row.mode);
    deliver(bytes);
    return heard();
  }

  // What a packet brings about: the synchronous interface hears its event first.
  Lines expected(const Firing& row, const Bytes& bytes, std::int32_t status, Objects objects) {
    Lines all;
    const auto hear = [&](const char* who, const protocol::MemberRow& event) {
      std::string line = std::string(who).append(" ").append(event.name);
      for (const protocol::Value& value : event.values) line.append(" ").append(tell_field(value, bytes));
      all.push_back(line);
    };
    const auto report = [&] {
      if ((objects & kAsync) == 0) return;
      all.push_back("async ErrorEvent " + tell(row.command) + " " + tell(kBadStatus));
    };
    const bool good = row.tested == Tested::kNever || status == VL_RS_AllOK;
    if ((objects & kSync) != 0 && row.sync_event != nullptr) {
      if (good || row.tested == Tested::kAsyncOnly) {
        hear("sync", *row.sync_event);
      } else {
        report();
      }
    }
    // A measurement that was not even begun is told to those who wait for its result.
    if (row.command == VL_C_StartMeasurement && row.type == VL_DT_Command && !good && (objects & kSync) != 0) {
      all.push_back("sync ErrorEvent " + tell(row.command) + " " + tell(kBadStatus));
    }
    for (const protocol::MemberRow* event : row.async_events) {
      if ((objects & kAsync) == 0) break;
      if (good) {
        hear("async", *event);
      } else if (row.tested == Tested::kEachTime || event == row.async_events.front()) {
        report();
      }
    }
    return all;
  }

  std::mt19937 random{21};
};

TEST_P(EventWalk, FiresEveryEventWithThePacketsFieldsAndNothingUnderAnotherNotificationMethod) {
  const auto objects = static_cast<Objects>(GetParam());
  make(objects);
  for (const auto method :
       {KR_NM_Event, KR_NM_None, KR_NM_Event, KR_NM_WM_CopyData, KR_NM_Event, KR_NM_WM_Notify, KR_NotifyMethod(7)}) {
    connection->SelectNotificationMethod(method, 0, 0);
    for (const Firing& row : all_firings()) {
      for (const std::int32_t status : {VL_RS_AllOK + 0, kBadStatus}) {
        const Bytes bytes = packet_of(row, status);
        const Lines wanted = method == KR_NM_Event ? expected(row, bytes, status, objects) : Lines();
        EXPECT_EQ(fire(row, bytes), wanted) << row.type << " " << row.command;
      }
    }
  }
}

// The synchronous object alone, the asynchronous one, and both.
INSTANTIATE_TEST_SUITE_P(Objects, EventWalk, testing::Values(1, 2, 3));

}  // namespace
}  // namespace kestrine::test
