// Driving the head by speed.
#include "client_test.h"

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

TEST_F(Moves, StepByTenUpToTheFullSpeed) {
  start();
  const struct {
    Move move;
    Words step;
  } directions[] = {{&ILTCommandSync::MoveLeft, {-10, 0}},
                    {&ILTCommandSync::MoveRight, {10, 0}},
                    {&ILTCommandSync::MoveUp, {0, -10}},
                    {&ILTCommandSync::MoveDown, {0, 10}}};
  for (const auto& [move, step] : directions) {
    for (int i = 1; i <= 11; ++i) {
      const std::int32_t steps = std::min(i, 10);
      EXPECT_EQ(speeds_of(move), (Words{step[0] * steps, step[1] * steps}));
    }
    EXPECT_EQ(speeds_of(&ILTCommandSync::StopMove), (Words{0, 0}));
  }
}

TEST_F(Moves, AtGivenSpeedsAreClampedAndForgotten) {
  start();
  speeds_of(&ILTCommandSync::MoveUp);
  peer.send(answer(VL_C_MoveHV, 0));
  EXPECT_EQ(told(commands->MoveHV(250, -300)), "ok");
  EXPECT_EQ(sent(12), (Words{100, -100}));
  EXPECT_EQ(speeds_of(&ILTCommandSync::MoveRight), (Words{10, 0}));
  connection->DisconnectEmbeddedSystem();
  EXPECT_EQ(commands->MoveHV(50, 50), E_FAIL);  // not sent, so nothing is forgotten
  connect();
  EXPECT_EQ(speeds_of(&ILTCommandSync::MoveRight), (Words{20, 0}));
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

TEST_F(Moves, GiveUpInSilenceWhileACallWaitsUnlessTimeoutsAreIncreased) {
  start();
  const Move moves[] = {&ILTCommandSync::MoveLeft, &ILTCommandSync::MoveRight, &ILTCommandSync::MoveUp,
                        &ILTCommandSync::MoveDown, &ILTCommandSync::StopMove};
  speeds_of(&ILTCommandSync::MoveDown);
  later([&] {
    sent();
    for (const Move move : moves) EXPECT_EQ(told((commands.get()->*move)()), "1 0 : no error information");
    EXPECT_EQ(commands->MoveHV(1, 1), S_FALSE);
    EXPECT_EQ(heard(), Lines{});
    commands->put_UseIncreasedTimeouts(VARIANT_TRUE);
    for (const Move move : moves) EXPECT_EQ(told((commands.get()->*move)()).substr(0, 14), "80004005 40001");
    EXPECT_EQ(told(commands->MoveHV(1, 1)).substr(0, 14), "80004005 40001");
    EXPECT_TRUE(peer.nothing_to_receive());
    peer.send(answer(VL_C_Initialize, 0));
  });
  EXPECT_EQ(told(commands->Initialize()), "ok");
  EXPECT_EQ(speeds_of(&ILTCommandSync::MoveDown), (Words{0, 20}));
}

}  // namespace
}  // namespace kestrine::test
