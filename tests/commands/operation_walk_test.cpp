// Every operation of both command sets, in every way in which it can end.
#include <algorithm>
#include <array>

#include "client_test.h"
#include "commands/arguments.h"
#include "typed_call.h"

namespace kestrine::test {
namespace {

constexpr std::int32_t kMeasureTime = 1234;
constexpr int kNever = 600'000;  // milliseconds; longer than any test runs
constexpr int kSoon = 4;

std::string number(std::int32_t value) {
  return std::to_string(value);
}

std::string join(std::initializer_list<std::string_view> pieces) {
  std::string whole;
  for (const std::string_view piece : pieces) whole.append(piece);
  return whole;
}

template <class Interface>
std::string failed_text(const Operation<Interface>& row, const std::string& status) {
  return join({"[", number(row.code()), "] \"", row.text(), "\" failed  (status:  ", status, ")"});
}

template <class Interface>
std::string send_failure(const Operation<Interface>& row) {
  return join({"Invoking command \"", row.text(), "\" [", number(row.code()), "] failed!"});
}

// The parameters of a drive by speed are not the operation's own: the steps begin at rest after MoveHV.
Bytes expected_request(const protocol::MemberRow& row, const TypedCall& call) {
  const std::int32_t code = row.command->code;
  if (code != VL_C_MoveHV) return request(code, call.parameters);
  const std::string_view name = row.name;
  Bytes speeds(8);
  if (name == "MoveHV") {
    put_i32(speeds, 0, std::clamp(call.longs[0], -100, 100));
    put_i32(speeds, 4, std::clamp(call.longs[1], -100, 100));
  }
  if (name == "MoveLeft") put_i32(speeds, 0, -10);  // MoveRight comes back to rest
  if (name == "MoveUp") put_i32(speeds, 4, -10);
  return request(code, speeds);
}

// The values of an answer are the last fields of its record; a result's try mode comes first there and last here.
std::vector<std::string> expected_outputs(const SyncOperation& row, const TypedCall& call, const Bytes& bytes) {
  std::vector<std::string> all;
  std::size_t count = call.outputs.size();
  if (count == 0) return all;
  const auto fields = protocol::leaves_of(row.record());
  if (row.code() == VL_C_GetStillImage) {
    return {tell(static_cast<std::int32_t>(bytes.size()) - 24), tell_bytes(std::span(bytes).subspan(24))};
  }
  if (std::string_view(row.name).ends_with("Ex")) {
    return {tell_bytes(std::span(bytes).subspan(row.packet_type() == VL_DT_Command ? 16 : 0))};
  }
  std::string try_mode;
  for (const protocol::Leaf& field : fields) {
    if (field.path == "bIsTryMode") try_mode = tell_field(field, bytes);
  }
  if (!try_mode.empty()) --count;
  for (const protocol::Leaf& field : std::span(fields).last(count)) all.push_back(tell_field(field, bytes));
  if (!try_mode.empty()) all.push_back(try_mode);
  return all;
}

class Walk : public ClientTest {
 protected:
  // The call on a connection that lets it pass, whatever the calls before have left behind.
  template <class Interface>
  TypedCall call(const Operation<Interface>& row, Interface& object, std::int32_t measure_time = kMeasureTime) {
    connection::MeasurementState& measurement = connection->measurement();
    mode_ = std::string_view(row.name).starts_with("StartContinuous") ? VL_MM_ContinuousTime : VL_MM_Standard;
    measurement.set_mode(mode_);
    measurement.set_legacy_stationary(false);
    measurement.acknowledge_start();
    measurement.set_stationary_time(measure_time);
    SetErrorInfo(0, nullptr);
    heard();
    return row.call(object, random);
  }
  // What is remembered of the last call.
  void expect_remembered(const protocol::MemberRow& row, const TypedCall& made, bool taken) {
    const std::int32_t code = row.command->code;
    connection::MeasurementState asked;
    asked.set_mode(taken && code == VL_C_SetMeasurementMode ? made.longs[0] : mode_);
    const std::int32_t time = taken && code == VL_C_SetStationaryModeParams ? made.longs[0] : kMeasureTime;
    EXPECT_EQ(connection->measurement().is_stationary_point_mode(), asked.is_stationary_point_mode()) << row.name;
    EXPECT_EQ(connection->measurement().stationary_time(), time) << row.name;
  }
  template <class Interface>
  static void expect_places(const std::vector<Operation<Interface>>& operations) {
    std::size_t slot = 3;  // behind those of IUnknown
    for (const Operation<Interface>& row : operations) EXPECT_EQ(row.slot, slot++) << row.name;
  }

  std::mt19937 random{20};

 private:
  std::int32_t mode_ = VL_MM_Stationary;  // in which the last call was made
};

class Operations : public Walk {
 protected:
  static std::vector<SyncOperation> chosen(bool (*is_meant)(const protocol::MemberRow&)) {
    std::vector<SyncOperation> some;
    std::ranges::copy_if(sync_operations(), std::back_inserter(some), is_meant);
    return some;
  }
  static bool sends(const protocol::MemberRow& row) { return row.command != nullptr; }
  static bool waits(const protocol::MemberRow& row) { return row.wait != nullptr; }

  TypedCall call(const SyncOperation& row, std::int32_t measure_time = kMeasureTime) {
    return Walk::call(row, *commands, measure_time);
  }
  Bytes reply(const SyncOperation& row, std::int32_t status) {
    Bytes bytes = random_packet(row.record(), row.packet_type(), random);
    if (row.packet_type() == VL_DT_Command) put_i32(bytes, 8, row.code());
    put_i32(bytes, row.packet_type() == VL_DT_Command ? 12 : 8, status);
    if (row.code() != VL_C_GetStillImage) return bytes;
    const std::int32_t image = status == VL_RS_AllOK ? 100'000 : 0;
    bytes.resize(static_cast<std::size_t>(24 + image));
    std::ranges::generate(bytes.begin() + 24, bytes.end(), [&] { return static_cast<std::uint8_t>(random()); });
    put_i32(bytes, 0, 24 + image);
    put_i32(bytes, 20, image);
    return bytes;
  }
  // What the application was told of failures.
  Lines exceptions() {
    Lines lines = heard();
    std::erase_if(lines, [](const std::string& line) { return line.find("ExceptionEvent") == std::string::npos; });
    return lines;
  }
  void expect_failure(const SyncOperation& row, HRESULT result, std::int32_t status, const std::string& text) {
    EXPECT_EQ(told(result), join({"80004005 ", number(status), " Kestrine.LTConnect.1: ", text})) << row.name;
    EXPECT_EQ(exceptions(), Lines{join({"sync ExceptionEvent ", number(status), " '", text, "'"})}) << row.name;
  }
};

TEST_F(Operations, HaveTheirPlacesInTheInterfaces) {
  expect_places(sync_operations());
  expect_places(async_operations());
}

TEST_F(Operations, SendTheirInputsAndEndAsTheServerAnswers) {
  start();
  connection->put_ExceptionHandlingPolicy(1);  // what waits never throws
  const std::pair<std::int32_t, std::string> statuses[] = {
      {0, "ok"},
      {11, "1 11 Kestrine.LTCommandSync.1: Warning: Parameter 1 out of range but still accepted"},
      {21, "1 21 Kestrine.LTCommandSync.1: Warning: Parameter 6 out of range but still accepted"},
      {VL_RS_WrongParameter, ""},
      {0, "ok"}};
  for (const auto& [status, outcome] : statuses) {
    for (const SyncOperation& row : chosen(sends)) {
      const Bytes bytes = waits(row) ? reply(row, status) : Bytes();
      peer.send(bytes);
      const TypedCall made = call(row);
      EXPECT_EQ(peer.receive_request(), expected_request(row, made)) << row.name;
      const bool refused = waits(row) && status == VL_RS_WrongParameter;
      if (refused) {
        expect_failure(row, made.result, status, failed_text(row, "Wrong Parameter"));
      } else {
        EXPECT_EQ(told(made.result), waits(row) ? outcome : "ok") << row.name;
        EXPECT_EQ(exceptions(), Lines{}) << row.name;
      }
      if (waits(row)) expect_remembered(row, made, !refused);
      // A point that was not measured is not handed out; all else comes whatever the status.
      if (status != VL_RS_AllOK && row.source == protocol::Source::kMeasurement && row.outputs_when_good) {
        for (const std::string& output : made.outputs) {
          EXPECT_EQ(output.find_first_of("123456789"), std::string::npos) << row.name;
        }
      } else {
        EXPECT_EQ(made.outputs, expected_outputs(row, made, bytes)) << row.name;
      }
      ASSERT_FALSE(HasFailure());
    }
  }
  EXPECT_TRUE(peer.nothing_to_receive());
}

TEST_F(Operations, SendNothingWhenAnyOutputHasNowhereToGo) {
  start();
  std::array<std::uint8_t, 512> anywhere{};
  int outputs = 0;
  for (const protocol::MemberRow& row : protocol::sync_methods()) {
    std::vector<commands::Argument> arguments(row.values.size());
    for (commands::Argument& argument : arguments) argument.out = anywhere.data();
    for (std::size_t i = 0; i < row.values.size(); ++i) {
      if (!row.values[i].out) continue;
      ++outputs;
      arguments[i].out = nullptr;
      EXPECT_EQ(engine().perform(row.dispid, arguments.data()), E_POINTER) << row.name << " " << row.values[i].name;
      arguments[i].out = anywhere.data();
    }
  }
  EXPECT_GT(outputs, 500);
  EXPECT_TRUE(peer.nothing_to_receive());
}

TEST_F(Operations, ReportAFailedSend) {
  start();
  connection->DisconnectEmbeddedSystem();
  connection->put_ExceptionHandlingPolicy(1);  // no send failure of this interface is ever thrown
  for (const SyncOperation& row : chosen(sends)) {
    expect_failure(row, call(row).result, 40002, send_failure(row));
    EXPECT_FALSE(engine().is_answer_pending());
  }
}

TEST_F(Operations, AreRefusedWhileAnotherOneWaits) {
  start();
  engine().begin_wait(VL_C_Park);
  for (const bool increased : {false, true}) {
    commands->put_UseIncreasedTimeouts(increased ? VARIANT_TRUE : VARIANT_FALSE);
    for (const bool policy : {false, true}) {
      connection->put_ExceptionHandlingPolicy(policy ? 1 : 0);
      for (const SyncOperation& row : chosen(sends)) {
        bool thrown = false;
        HRESULT result = S_OK;
        try {
          result = call(row).result;
        } catch (const _com_error& error) {
          thrown = true;
          result = error.Error();
        }
        EXPECT_EQ(thrown, policy && row.sends_only) << row.name;
        if (row.code() == VL_C_MoveHV && !increased) {
          EXPECT_EQ(told(result), "1 0 : no error information") << row.name;
          EXPECT_EQ(exceptions(), Lines{}) << row.name;
        } else {
          expect_failure(row, result, 40001, "Command failed due to pending synchronous answer");
        }
      }
    }
  }
  EXPECT_EQ(commands->MoveLeft(), E_FAIL);
  EXPECT_TRUE(peer.nothing_to_receive());
  EXPECT_TRUE(engine().is_awaiting_answer(VL_C_Park));
  engine().end_wait(VL_C_Park);
  peer.send(answer(VL_C_MoveHV, 0));
  EXPECT_EQ(commands->MoveLeft(), S_OK);
  EXPECT_EQ(sent(12), (std::vector<std::int32_t>{-10, 0})) << "a refused move is no step";
}

// One class of timers ends soon and the others never: a call with another timer than its own would not come back.
// So would one that adds the measure time where it must not, or the other way round: the two of them are far from
// zero, but for their sum.
TEST_F(Operations, WaitAsLongAsTheirClassOfTimersInBothTimeoutSettings) {
  using Timer = std::pair<const protocol::WaitRow*, bool>;
  std::vector<Timer> timers;
  for (const SyncOperation& row : chosen(waits)) {
    const Timer timer(row.wait, row.adds_measure_time);
    if (std::ranges::count(timers, timer) == 0) timers.push_back(timer);
  }
  for (const auto& [wait, adds_measure_time] : timers) {
    for (const protocol::WaitRow& other : protocol::wait_classes()) set_timeout(other.key, kNever);
    set_timeout(wait->key, adds_measure_time ? kNever : kSoon);
    commands.reset(), connection.reset();
    start();
    for (const bool increased : {false, true}) {
      ASSERT_EQ(commands->put_UseIncreasedTimeouts(increased ? VARIANT_TRUE : VARIANT_FALSE), S_OK);
      for (const SyncOperation& row : chosen(waits)) {
        if (Timer(row.wait, row.adds_measure_time) != Timer(wait, adds_measure_time)) continue;
        later([&] { engine().cancel_wait(); }, 5000);
        const TypedCall made = call(row, adds_measure_time ? kSoon - kNever : kNever);
        forget_tasks();
        expect_failure(row, made.result, increased ? 40028 : 36,
                       join({"[", number(row.code()), "]  ", row.text(), ":  No answer, timed out!"}));
        EXPECT_EQ(peer.receive_request(), expected_request(row, made)) << row.name;
        ASSERT_FALSE(HasFailure());
      }
    }
    peer.send(answer(VL_C_Park, VL_RS_ServerBusy));
    EXPECT_EQ(told(commands->Park()), "80004005 1 Kestrine.LTConnect.1: [10] \"Park\" failed  (status:  Server Busy)")
        << "the next call starts afresh";
  }
}

class Senders : public Walk {
 protected:
  // Returned or, with the policy, thrown; told by each object that is present.
  void expect_failure(const AsyncOperation& row, const std::string& number, const std::string& text,
                      const Lines& objects) {
    for (const bool policy : {false, true}) {
      connection->put_ExceptionHandlingPolicy(policy ? 1 : 0);
      EXPECT_EQ(outcome([&] { return call(row, *async_commands).result; }),
                (policy ? "thrown 80004005 " : "80004005 ") + number + " Kestrine.LTConnect.1: " + text)
          << row.name;
      Lines events;
      for (const std::string& object : objects)
        events.push_back(object + " ExceptionEvent " + number + " '" + text + "'");
      EXPECT_EQ(heard(), events) << row.name;
      expect_remembered(row, {}, false);
    }
  }
};

TEST_F(Senders, SendTheirArguments) {
  start(kAsync);
  for (const AsyncOperation& row : async_operations()) {
    const TypedCall made = call(row, *async_commands);
    EXPECT_EQ(told(made.result), "ok") << row.name;
    EXPECT_EQ(peer.receive_request(), expected_request(row, made)) << row.name;
    expect_remembered(row, made, true);
  }
  EXPECT_TRUE(peer.nothing_to_receive());
}

TEST_F(Senders, AreRefusedWhileASynchronousCallWaits) {
  start(kBoth);
  engine().begin_wait(VL_C_Park);
  for (const AsyncOperation& row : async_operations()) {
    expect_failure(row, "40001", "Command failed due to pending synchronous answer", {"sync", "async"});
  }
  EXPECT_TRUE(peer.nothing_to_receive());
}

TEST_F(Senders, ReportAFailedSend) {
  start(kAsync);
  connection->DisconnectEmbeddedSystem();
  for (const AsyncOperation& row : async_operations()) expect_failure(row, "40002", send_failure(row), {"async"});
}

}  // namespace
}  // namespace kestrine::test
