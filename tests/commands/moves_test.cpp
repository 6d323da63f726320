// Driving the head by speed.
#include <algorithm>

#include "client_test.h"
#include "commands/arguments.h"

namespace kestrine::test {
namespace {

using Words = std::vector<std::int32_t>;
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
      step(less, -10, 10);
      EXPECT_EQ(expected, (Words{0, 0}));
      step(more, 10, 3);
      speeds.step(speed_of(rows, "StopMove"));
      EXPECT_TRUE(speeds.horizontal == 0 && speeds.vertical == 0);
    }
  }
}

TEST(DriveSpeeds, GivenOnesAreClampedAndTheStoredOnesForgottenOnceTheyAreSent) {
  const protocol::Speed given_speed = speed_of(protocol::sync_methods(), "MoveHV");
  const std::pair<Words, Words> cases[] = {{{250, -250}, {100, -100}}, {{100, -100}, {100, -100}},
                                           {{-101, 101}, {-100, 100}}, {{INT32_MIN, INT32_MAX}, {-100, 100}},
                                           {{7, -99}, {7, -99}},       {{0, 0}, {0, 0}}};
  for (const auto& [given, expected] : cases) {
    commands::DriveSpeeds speeds{-30, 20};
    commands::Argument arguments[2];
    for (std::size_t i = 0; i < 2; ++i) arguments[i].i32 = given[i];
    speeds.step(given_speed);
    const commands::DriveSpeeds sent = speeds.to_send(given_speed, arguments);
    EXPECT_EQ((Words{sent.horizontal, sent.vertical}), expected);
    EXPECT_TRUE(speeds.horizontal == -30 && speeds.vertical == 20) << "not sent yet";
    speeds.sent(given_speed);
    EXPECT_TRUE(speeds.horizontal == 0 && speeds.vertical == 0);
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
  peer.send(answer(VL_C_Initialize, 703));
  commands->Initialize();
  sent();
  EXPECT_EQ(speeds_of(&ILTCommandSync::MoveDown), (Words{-20, 10}));
}

}  // namespace
}  // namespace kestrine::test
