// What the operations of ILTCommandAsync do beside sending: mode checks, drives by speed, housekeeping.
#include <algorithm>
#include <functional>
#include <limits>

#include "sender_test.h"

namespace kestrine::test {
namespace {

using Words = std::vector<std::int32_t>;
using Plain = HRESULT (ILTCommandAsync::*)();

const std::string kFailed = "80004005 ";
const std::string kPending = "40001 Kestrine.LTConnect.1: Command failed due to pending synchronous answer";
const std::string kMisfit = " Kestrine.LTConnect.1: Currently selected measurement mode does not match requested ";

class Senders : public SenderTest {
 protected:
  std::string outcome_of(Plain operation) {
    return outcome([&] { return (senders.get()->*operation)(); });
  }
  Words speeds_of(Plain move) {
    EXPECT_EQ(outcome_of(move), "ok");
    return sent(12);
  }
  void expect_not_sent(const std::string& came_to) { EXPECT_EQ(came_to.substr(0, 14), "80004005 40002"); }
};

struct Starter {
  Plain operation;
  std::vector<std::int32_t> stationary;         // the modes that count as stationary
  std::vector<std::int32_t> legacy_stationary;  // those that do with the legacy flag, too
  bool wants_stationary;
};

const Starter kStarters[] = {
    {&ILTCommandAsync::StartContinuousPointMeasurement, {0, 20, 21, 22, 23}, {}, false},
    {&ILTCommandAsync::StartContinuousProbeMeasurement, {6}, {0}, false},
    {&ILTCommandAsync::MeasureStationaryPoint, {0, 20, 21, 22, 23}, {}, true},
    {&ILTCommandAsync::MeasureStationaryProbeData, {6, 20, 21, 22, 23}, {0}, true},
};

TEST_F(Senders, StartOnlyMeasurementsThatFitTheModeLastSent) {
  start(kBoth);
  const auto contains = [](const Words& modes, std::int32_t mode) { return std::ranges::count(modes, mode) != 0; };
  for (std::int32_t mode = -1; mode <= 24; ++mode) {
    connection->put_ExceptionHandlingPolicy(mode % 2);
    const std::string failed = (mode % 2 != 0 ? "thrown " : "") + kFailed;
    EXPECT_EQ(told(senders->SetMeasurementMode(static_cast<VL_MeasMode>(mode))), "ok");
    EXPECT_EQ(sent(), (Words{VL_C_SetMeasurementMode, mode}));
    for (const bool legacy : {false, true}) {
      connection->put_SupportLegacyStationaryMode(legacy ? 1 : 0);
      for (const Starter& starter : kStarters) {
        SCOPED_TRACE(testing::Message() << "starter " << &starter - kStarters << ", mode " << mode << legacy);
        const bool stationary =
            contains(starter.stationary, mode) || (legacy && contains(starter.legacy_stationary, mode));
        const bool fits = stationary == starter.wants_stationary;
        const std::string misfit =
            failed + (starter.wants_stationary ? "40004" + kMisfit + "stationary" : "40003" + kMisfit + "continuous") +
            " measurement type !";
        EXPECT_EQ(outcome_of(starter.operation), fits ? "ok" : misfit);
        if (fits) {
          EXPECT_EQ(sent(), (Words{VL_C_StartMeasurement}));
        }
        engine().begin_wait(VL_C_Park);
        EXPECT_EQ(outcome_of(starter.operation), fits ? failed + kPending : misfit) << "the mode comes first";
        engine().end_wait(VL_C_Park);
      }
    }
  }
  EXPECT_TRUE(peer.nothing_to_receive());
}

TEST_F(Senders, StepTheSpeedFromRestToTheStopsAndBack) {
  start();
  const struct {
    Plain less;
    Plain more;
    std::size_t axis;
  } axes[] = {{&ILTCommandAsync::MoveLeft, &ILTCommandAsync::MoveRight, 0},
              {&ILTCommandAsync::MoveUp, &ILTCommandAsync::MoveDown, 1}};
  for (const auto& [less, more, axis] : axes) {
    Words speeds = {0, 0};
    const auto step = [&, at = axis](Plain move, std::int32_t by, int times) {
      for (; times > 0; --times) {
        speeds[at] = std::clamp(speeds[at] + by, -100, 100);
        EXPECT_EQ(speeds_of(move), speeds);
      }
    };
    step(less, -10, 11);
    step(more, 10, 22);
    step(less, -10, 10);
    EXPECT_EQ(speeds, (Words{0, 0}));
    step(more, 10, 3);
    EXPECT_EQ(speeds_of(&ILTCommandAsync::StopMove), (Words{0, 0}));
    EXPECT_EQ(speeds_of(less)[axis], -10) << "from rest again";
    speeds_of(&ILTCommandAsync::StopMove);
  }
}

TEST_F(Senders, ClampGivenSpeedsAndForgetThemOnceTheyAreSent) {
  start();
  constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
  const std::pair<Words, Words> cases[] = {{{250, -250}, {100, -100}}, {{100, -100}, {100, -100}},
                                           {{-101, 101}, {-100, 100}}, {{-kMost - 1, kMost}, {-100, 100}},
                                           {{7, -99}, {7, -99}},       {{0, 0}, {0, 0}}};
  for (const auto& [given, expected] : cases) {
    EXPECT_EQ(told(senders->MoveHV(given[0], given[1])), "ok");
    EXPECT_EQ(sent(), (Words{VL_C_MoveHV, expected[0], expected[1]}));
    EXPECT_EQ(speeds_of(&ILTCommandAsync::MoveRight), (Words{10, 0}));
    EXPECT_EQ(speeds_of(&ILTCommandAsync::MoveDown), (Words{10, 10}));
  }
}

TEST_F(Senders, ChangeTheSpeedAlsoWhenItCannotBeSentButNotWhenRefused) {
  start(kBoth);
  speeds_of(&ILTCommandAsync::MoveLeft);
  connection->DisconnectEmbeddedSystem();
  expect_not_sent(outcome_of(&ILTCommandAsync::MoveLeft));
  expect_not_sent(outcome_of(&ILTCommandAsync::MoveDown));
  expect_not_sent(told(senders->MoveHV(5, 5)));
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

TEST_F(Senders, StartFromRestOnAnAxisThatRanIntoItsLimit) {
  start();
  speeds_of(&ILTCommandAsync::MoveLeft);
  speeds_of(&ILTCommandAsync::MoveUp);
  deliver(answer(VL_C_MoveHV, 704));
  EXPECT_EQ(speeds_of(&ILTCommandAsync::MoveLeft), (Words{-20, 0}));
  deliver(answer(VL_C_Unknown, 703, VL_DT_Error));
  EXPECT_EQ(speeds_of(&ILTCommandAsync::MoveUp), (Words{0, -10}));
}

TEST_F(Senders, OutliveAHandlerThatDropsEverything) {
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
        commands.reset(), async_commands.reset(), senders.reset(), connection.reset();
        return S_OK;
      };
      last = senders.get();
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
  const auto senders = objects[1].query<Interface>();
  ASSERT_TRUE(senders);
  const auto interface_of = [](HRESULT result) {
    EXPECT_EQ(result, E_FAIL);
    Pointer<IErrorInfo> info;
    IID iid{};
    if (GetErrorInfo(0, info.put()) == S_OK) info->GetGUID(&iid);
    return iid;
  };
  EXPECT_EQ(interface_of(senders->Park()), expected) << "not sent";
  EXPECT_EQ(interface_of(senders->StartContinuousPointMeasurement()), expected) << "the mode does not fit";
  dynamic_cast<commands::SyncCommandObject&>(*generation.objects().sync()).begin_wait(VL_C_Park);
  EXPECT_EQ(interface_of(senders->Park()), expected) << "refused";
  double value = 0;
  EXPECT_EQ(interface_of(connection->GetConstant(static_cast<KR_Constant>(-1), &value)), of_connection);
}

TEST_F(Senders, FailAsTheirConnectionDoesUnderTheInterfaceOfTheGeneration) {
  expect_failures_of<ILTConnect, ILTCommandAsync>(1, IID_ILTCommandAsync, IID_ILTConnect);
  expect_failures_of<ILTConnect2, ILTCommandAsync2>(2, IID_ILTCommandAsync2, IID_ILTConnect2);
}

}  // namespace
}  // namespace kestrine::test
