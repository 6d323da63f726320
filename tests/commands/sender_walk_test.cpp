// Every operation of ILTCommandAsync, sent, refused while a call waits, and not to be sent.
#include <algorithm>
#include <set>
#include <string_view>

#include "client_test.h"
#include "event_walk_rows.h"
#include "kestrine/text.h"
#include "protocol/catalogue.h"
#include "sender_rows.h"

namespace kestrine::test {
namespace {

constexpr std::int32_t kMeasureTime = 1234;

// The steps are taken from rest, where MoveHV leaves the object; MoveRight and MoveDown come back to it.
Bytes expected_parameters(const SenderRow& row, const TypedCall& call) {
  if (row.command != VL_C_MoveHV) return call.parameters;
  const std::string_view name = row.name;
  Bytes speeds(8);
  if (name == "MoveHV") {
    put_i32(speeds, 0, std::clamp(call.longs[0], -100, 100));
    put_i32(speeds, 4, std::clamp(call.longs[1], -100, 100));
  }
  if (name == "MoveLeft") put_i32(speeds, 0, -10);
  if (name == "MoveUp") put_i32(speeds, 4, -10);
  return speeds;
}

Bytes expected_request(const SenderRow& row, const TypedCall& call) {
  return request(row.command, expected_parameters(row, call));
}

// How the lines of the events begin that an answer to the operation fires.
Lines expected_events(const SenderRow& row, std::int32_t status) {
  const std::string code = std::to_string(row.command);
  const std::string error = "async ErrorEvent " + code + " " + std::to_string(status) + " ";
  Lines events;
  for (const EventWalkRow& event : event_walk_rows()) {
    if (event.type != VL_DT_Command || event.command != row.command || event.command == VL_C_Initialize) continue;
    if (status == VL_RS_AllOK || event.tested == Tested::kNever) {
      events.push_back(std::string("async ").append(event.name).append(" "));
    } else if (events.empty() || event.tested == Tested::kEachTime) {
      events.push_back(error);
    }
  }
  if (events.empty()) events.push_back(status == VL_RS_AllOK ? "async CommandCompletedData " + code + " " : error);
  return events;
}

class SenderWalk : public ClientTest {
 protected:
  TypedCall call(const SenderRow& row) {
    mode_ = std::string_view(row.name).starts_with("StartContinuous") ? VL_MM_ContinuousTime : VL_MM_Standard;
    connection->measurement().set_mode(mode_);
    connection->measurement().set_stationary_time(kMeasureTime);
    SetErrorInfo(0, nullptr);
    return row.sender.call(*async_commands, random_);
  }
  void expect_remembered(std::int32_t mode, std::int32_t time) {
    connection::MeasurementState asked;
    asked.set_mode(mode);
    EXPECT_EQ(connection->measurement().is_stationary_point_mode(), asked.is_stationary_point_mode());
    EXPECT_EQ(connection->measurement().stationary_time(), time);
  }
  // Returned or, with the policy, thrown; told by each object that is present.
  void expect_failure(const SenderRow& row, const std::string& number, const std::string& text, const Lines& objects) {
    for (const bool policy : {false, true}) {
      connection->put_ExceptionHandlingPolicy(policy ? 1 : 0);
      EXPECT_EQ(outcome([&] { return call(row).result; }),
                (policy ? "thrown 80004005 " : "80004005 ") + number + " Kestrine.LTConnect.1: " + text)
          << row.name;
      Lines events;
      for (const std::string& object : objects)
        events.push_back(object + " ExceptionEvent " + number + " '" + text + "'");
      EXPECT_EQ(heard(), events) << row.name;
      expect_remembered(mode_, kMeasureTime);
    }
  }
  Lines events_of(const Bytes& bytes) {
    peer.send(bytes);
    Lines lines;
    EXPECT_TRUE(pump_until([&] { return !(lines = heard()).empty(); }));
    return lines;
  }

  std::int32_t mode_ = VL_MM_Stationary;  // in which the last call was made

 private:
  std::mt19937 random_{22};
};

TEST_F(SenderWalk, HasASlotANameAndItsParametersForEach) {
  ASSERT_EQ(sender_rows().size(), 152u);
  std::set<std::string_view> names;
  std::size_t slot = 3;  // behind those of IUnknown
  for (const SenderRow& row : sender_rows()) {
    names.insert(row.name);
    EXPECT_EQ(row.sender.slot(), slot++) << row.name;
    EXPECT_EQ(row.sender.types(), row.types) << row.name;
  }
  EXPECT_EQ(names.size(), 152u);
}

TEST_F(SenderWalk, SendsItsArgumentsAndAnswersBecomeEvents) {
  start(kAsync);
  for (const std::int32_t status : {VL_RS_AllOK + 0, VL_RS_WrongParameter + 0}) {
    for (const SenderRow& row : sender_rows()) {
      const TypedCall made = call(row);
      EXPECT_EQ(told(made.result), "ok") << row.name;
      EXPECT_EQ(peer.receive_request(), expected_request(row, made)) << row.name;
      expect_remembered(row.command == VL_C_SetMeasurementMode ? made.longs[0] : mode_,
                        row.command == VL_C_SetStationaryModeParams ? made.longs[0] : kMeasureTime);

      Bytes bytes = packet(1'000, VL_DT_Command);
      put_i32(bytes, 8, row.command);
      put_i32(bytes, 12, status);
      const Lines lines = events_of(bytes);
      const Lines expected = expected_events(row, status);
      ASSERT_EQ(lines.size(), expected.size()) << row.name;
      for (std::size_t i = 0; i < lines.size(); ++i) {
        EXPECT_TRUE((lines[i] + " ").starts_with(expected[i])) << row.name << ": " << lines[i];
      }
    }
  }
  EXPECT_TRUE(peer.nothing_to_receive());
}

TEST_F(SenderWalk, IsRefusedWhileASynchronousCallWaits) {
  start(kBoth);
  later([&] {
    EXPECT_EQ(sent(), (std::vector<std::int32_t>{VL_C_Initialize}));
    for (const SenderRow& row : sender_rows()) {
      expect_failure(row, "40001", "Command failed due to pending synchronous answer", {"sync", "async"});
    }
    EXPECT_TRUE(peer.nothing_to_receive());
    connection->put_ExceptionHandlingPolicy(0);
    peer.send(answer(VL_C_Initialize, 0));
  });
  EXPECT_EQ(told(commands->Initialize()), "ok");
}

TEST_F(SenderWalk, ReportsAFailedSend) {
  start(kAsync);
  connection->DisconnectEmbeddedSystem();
  for (const SenderRow& row : sender_rows()) {
    const std::string text = to_utf8(protocol::find_command(row.command)->text);
    expect_failure(row, "40002", "Invoking command \"" + text + "\" [" + std::to_string(row.command) + "] failed!",
                   {"async"});
  }
}

}  // namespace
}  // namespace kestrine::test
