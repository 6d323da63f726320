// What the operations of ILTCommandAsync do beside sending: mode checks, drives by speed, housekeeping.
#include <functional>

#include "client_test.h"

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
      SCOPED_TRACE(testing::Message() << "failure " << &failure - failures << ", objects " << objects);
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

// Which interface the error information of a failed call names.
template <class ConnectInterface, class Interface>
void expect_failures_of(int number, const IID& expected, const IID& of_connection) {
  dispatch::ProcessState process;
  objects::GenerationClasses classes(number, process);
  dispatch::Generation& generation = classes.generation();
  using Connect = objects::Connect<ConnectInterface>;
  const auto connection = Pointer<Connect>::adopt(new Connect(generation));
  Pointer<IUnknown> objects[2];
  ASSERT_EQ(connection->get_ILTCommandSync(objects[0].put()), S_OK);
  ASSERT_EQ(connection->get_ILTCommandAsync(objects[1].put()), S_OK);
  const auto async_commands = objects[1].query<Interface>();
  ASSERT_TRUE(async_commands);
  const auto interface_of = [](HRESULT result) {
    EXPECT_EQ(result, E_FAIL);
    Pointer<IErrorInfo> info;
    IID iid{};
    if (GetErrorInfo(0, info.put()) == S_OK) info->GetGUID(&iid);
    return iid;
  };
  EXPECT_EQ(interface_of(async_commands->Park()), expected) << "not sent";
  EXPECT_EQ(interface_of(async_commands->StartContinuousPointMeasurement()), expected) << "the mode does not fit";
  dynamic_cast<commands::SyncCommandObject&>(*generation.objects().sync()).begin_wait(VL_C_Park);
  EXPECT_EQ(interface_of(async_commands->Park()), expected) << "refused";
  double value = 0;
  EXPECT_EQ(interface_of(connection->GetConstant(static_cast<KR_Constant>(-1), &value)), of_connection);
}

TEST_F(AsyncCommands, FailAsTheirConnectionDoesUnderTheInterfaceOfTheGeneration) {
  expect_failures_of<ILTConnect, ILTCommandAsync>(1, IID_ILTCommandAsync, IID_ILTConnect);
  expect_failures_of<ILTConnect2, ILTCommandAsync2>(2, IID_ILTCommandAsync2, IID_ILTConnect2);
}

}  // namespace
}  // namespace kestrine::test
