// What operations do beside sending: mode checks, drives by speed, housekeeping.
#include <algorithm>
#include <functional>

#include "client_test.h"
#include "commands/arguments.h"

namespace kestrine::test {
namespace {

using Words = std::vector<std::int32_t>;
using Plain = HRESULT (ILTCommandAsync::*)();

const std::string kFailed = "80004005 ";
const std::string kPending = "40001 Kestrine.LTConnect.1: Command failed due to pending synchronous answer";
const std::string kMisfit = " Kestrine.LTConnect.1: Currently selected measurement mode does not match requested ";

class AsyncCommands : public ClientTest {
 protected:
  std::string outcome_of(Plain operation) {
    return outcome([&] { return (async_commands.get()->*operation)(); });
  }
  Words speeds_of(Plain move) {
    EXPECT_EQ(outcome_of(move), "ok");
    return sent(12);
  }
  void expect_not_sent(const std::string& came_to) { EXPECT_EQ(came_to.substr(0, 14), "80004005 40002"); }
};

TEST_F(AsyncCommands, AreToldOfAModeThatDoesNotFitBeforeAnythingElse) {
  start(kBoth);
  const std::pair<Plain, std::string> rows[] = {
      {&ILTCommandAsync::StartContinuousPointMeasurement, "40003" + kMisfit + "continuous measurement type !"},
      {&ILTCommandAsync::MeasureStationaryProbeData, "40004" + kMisfit + "stationary measurement type !"}};
  engine().begin_wait(VL_C_Park);
  for (const auto& [operation, misfit] : rows) {
    for (const bool policy : {false, true}) {
      connection->put_ExceptionHandlingPolicy(policy ? 1 : 0);
      EXPECT_EQ(outcome_of(operation), (policy ? "thrown " : "") + kFailed + misfit);
    }
  }
  EXPECT_EQ(told(commands->StartContinuousPointMeasurement()), kFailed + rows[0].second);
  EXPECT_TRUE(peer.nothing_to_receive());
}

TEST_F(AsyncCommands, ChangeTheSpeedAlsoWhenItCannotBeSentButNotWhenRefused) {
  start(kBoth);
  speeds_of(&ILTCommandAsync::MoveLeft);
  connection->DisconnectEmbeddedSystem();
  expect_not_sent(outcome_of(&ILTCommandAsync::MoveLeft));
  expect_not_sent(outcome_of(&ILTCommandAsync::MoveDown));
  expect_not_sent(told(async_commands->MoveHV(5, 5)));
  connect();
  engine().begin_wait(VL_C_Park);
  for (const Plain move : {&ILTCommandAsync::MoveUp, &ILTCommandAsync::StopMove}) {
    EXPECT_EQ(outcome_of(move), kFailed + kPending);
  }
  engine().end_wait(VL_C_Park);
  EXPECT_EQ(speeds_of(&ILTCommandAsync::MoveLeft), (Words{-30, 10}));
  EXPECT_EQ(told(async_commands->MoveHV(5, -120)), "ok");
  EXPECT_EQ(sent(12), (Words{5, -100}));
  EXPECT_EQ(speeds_of(&ILTCommandAsync::MoveLeft), (Words{-10, 0})) << "after given speeds a step starts from rest";
  connection->DisconnectEmbeddedSystem();
  expect_not_sent(outcome_of(&ILTCommandAsync::StopMove));
  connect();
  EXPECT_EQ(speeds_of(&ILTCommandAsync::MoveUp), (Words{0, -10}));
}

TEST_F(AsyncCommands, StartFromRestOnAnAxisThatRanIntoItsLimit) {
  start(kAsync);
  speeds_of(&ILTCommandAsync::MoveLeft);
  speeds_of(&ILTCommandAsync::MoveUp);
  deliver(answer(VL_C_MoveHV, 704));
  deliver(answer(VL_C_Park, 703));  // no drive
  EXPECT_EQ(speeds_of(&ILTCommandAsync::MoveLeft), (Words{-20, 0}));
  deliver(answer(VL_C_Unknown, 703, VL_DT_Error));
  EXPECT_EQ(speeds_of(&ILTCommandAsync::MoveUp), (Words{0, -10}));
}

TEST_F(AsyncCommands, OutliveAHandlerThatDropsEverything) {
  ILTCommandAsync* last = nullptr;
  ILTConnect* last_connection = nullptr;
  double value = 0;
  const std::function<HRESULT()> failures[] = {
      [&] { return last->Park(); },
      [&] { return last->StartContinuousPointMeasurement(); },
      [&] { return engine().begin_wait(VL_C_Park), last->Park(); },
      [&] { return last_connection->GetConstant(static_cast<KR_Constant>(9999), &value); },
  };
  for (const auto& failure : failures) {
    for (const Objects objects : {kAsync, kBoth}) {
      if (&failure == &failures[2] && objects == kAsync) continue;
      make(objects);
      (objects == kBoth ? sync_listener : async_listener)->handler = [&](DISPID) {
        commands.reset(), async_commands.reset(), connection.reset();
        return S_OK;
      };
      last = async_commands.get();
      last_connection = connection.get();
      EXPECT_EQ(failure(), E_FAIL);
      EXPECT_EQ(heard().size(), objects == kBoth ? 2u : 1u);
      EXPECT_EQ(generation.connection(), nullptr);
      EXPECT_EQ(generation.objects().async(), nullptr);
    }
  }
}

// What the second generation names in the error information of a failed call.
TEST_F(AsyncCommands, FailAsTheirConnectionDoesUnderTheInterfaceOfTheGeneration) {
  objects::GenerationClasses classes2(2, process);
  using Connect2 = objects::Connect<ILTConnect2>;
  const auto connection2 = Pointer<Connect2>::adopt(new Connect2(classes2.for_connection()));
  Pointer<IUnknown> object;
  ASSERT_EQ(connection2->get_ILTCommandAsync(object.put()), S_OK);
  const auto commands2 = object.query<ILTCommandAsync2>();
  outlive_the_suspicion();
  const auto expect_failure_of = [](HRESULT result, const IID& expected) {
    EXPECT_EQ(result, E_FAIL);
    Pointer<IErrorInfo> info;
    IID iid{};
    if (GetErrorInfo(0, info.put()) == S_OK) info->GetGUID(&iid);
    EXPECT_EQ(iid, expected);
  };
  expect_failure_of(commands2->Park(), IID_ILTCommandAsync2);
  expect_failure_of(commands2->StartContinuousPointMeasurement(), IID_ILTCommandAsync2);
  double value = 0;
  expect_failure_of(connection2->GetConstant(static_cast<KR_Constant>(-1), &value), IID_ILTConnect2);
}

using Move = HRESULT (ILTCommandSync::*)();

class Moves : public ClientTest {
 protected:
  // The speeds that the move sends; the server answers with the status.
  Words speeds_of(Move move, std::int32_t status = 0) {
    peer.send(answer(VL_C_MoveHV, status));
    outcome = (commands.get()->*move)();
    return sent(12);
  }
  HRESULT outcome = S_OK;
};

// The operation of either command set, which are driven alike.
protocol::Speed speed_of(std::span<const protocol::MemberRow> rows, std::string_view name) {
  return std::ranges::find(rows, name, &protocol::MemberRow::name)->speed;
}

TEST(DriveSpeeds, StepFromRestToTheStopsAndBack) {
  for (const auto rows : {protocol::sync_methods(), protocol::async_methods()}) {
    for (const auto& [less, more, axis] :
         {std::tuple{"MoveLeft", "MoveRight", 0u}, std::tuple{"MoveUp", "MoveDown", 1u}}) {
      commands::DriveSpeeds speeds;
      Words expected = {0, 0};
      const auto step = [&, at = axis](const char* name, std::int32_t by, int times) {
        for (; times > 0; --times) {
          speeds.step(speed_of(rows, name));
          expected[at] = std::clamp(expected[at] + by, -100, 100);
          const commands::DriveSpeeds sent = speeds.to_send(speed_of(rows, name), nullptr);
          EXPECT_EQ((Words{sent.horizontal, sent.vertical}), expected);
          speeds.sent(speed_of(rows, name));
        }
      };
      step(less, -10, 11);
      step(more, 10, 22);
      speeds.step(speed_of(rows, "StopMove"));
      EXPECT_TRUE(speeds.horizontal == 0 && speeds.vertical == 0);
    }
  }
}

TEST_F(Moves, StartAgainFromRestOnAnAxisThatRanIntoItsLimit) {
  start();
  speeds_of(&ILTCommandSync::MoveLeft);
  speeds_of(&ILTCommandSync::MoveUp, 703);
  EXPECT_EQ(outcome, E_FAIL);
  EXPECT_EQ(speeds_of(&ILTCommandSync::MoveLeft, 704), (Words{-10, -10}));
  EXPECT_EQ(speeds_of(&ILTCommandSync::MoveUp), (Words{-10, -10}));
  deliver(answer(VL_C_Unknown, 704, VL_DT_Error));  // an error packet of no command counts, too
  EXPECT_EQ(speeds_of(&ILTCommandSync::MoveLeft), (Words{-20, 0}));
}

}  // namespace
}  // namespace kestrine::test
