// The way between library and server over a real socket: packets broken off, and the messages of the hidden
// window.
#include "connection/channel.h"

#include "client_test.h"
#include "kestrine/host.h"
#include "platform/test_clock.h"

namespace kestrine::test {
namespace {

using namespace std::chrono_literals;

class ChannelTest : public ClientTest {
 protected:
  std::int64_t send(std::uint32_t message, std::int64_t lparam = 0) {
    return platform::send_message(generation.window(), message, 0, lparam);
  }
};

TEST_F(ChannelTest, APacketThatAResetBreaksOffLeavesTraces) {
  start();
  peer.send(cut(filled(36, VL_DT_ReflectorPosResult), 20).first);
  peer.reset();
  heard_in_time(1);
  EXPECT_EQ(environment.traces(), "recv3=unknown socket reading error\nrecv4=unknown socket reading error\n");
}

TEST_F(ChannelTest, MessagesOfTheWindowReachWhoeverIsResponsible) {
  using connection::kFlushMessage, connection::kSocketMessage;
  const std::vector<Environment::Beep> one_beep = {{2000, 5000}};
  connection = Pointer<Connect>::adopt(new Connect(keep_generation));
  EXPECT_EQ(send(kFlushMessage), 0) << "nobody has anything to flush";
  EXPECT_EQ(environment.beeps, one_beep);
  connection.reset();
  start();
  EXPECT_EQ(send(kFlushMessage), 1);
  EXPECT_EQ(environment.beeps, one_beep);
  engine().begin_wait(VL_C_Park);
  EXPECT_EQ(send(kSocketMessage + 100), 0);
  EXPECT_TRUE(engine().is_answer_pending());
  EXPECT_EQ(send(kSocketMessage, 0x77), 0) << "an event that is none";
  EXPECT_FALSE(engine().is_answer_pending()) << "out of step";
  EXPECT_EQ(send(kSocketMessage, platform::kSocketClosed), 1);
  EXPECT_EQ(heard(), Lines{"sync StatusChangeEvent 998"});
  generation.channel()->forget(*connection);
  EXPECT_EQ(send(kFlushMessage), 0) << "nobody is responsible any more";
}

TEST_F(ChannelTest, ATimerGoesOffOnceUnlessItIsStopped) {
  start();
  connection::Channel& channel = *generation.channel();
  engine().begin_wait(VL_C_Park);
  const auto is_running = [&](std::uint64_t id) { return platform::kill_timer(channel.window(), id); };
  channel.start_timer(50, 1);
  channel.stop_timer(50);
  EXPECT_FALSE(is_running(50));
  channel.start_timer(49, 1);
  platform::advance_clock(3ms);
  host::dispatch();
  EXPECT_FALSE(engine().is_answer_pending());
  channel.start_timer(51, 1);
  channel.forget(*connection);
  platform::advance_clock(3ms);
  EXPECT_EQ(host::dispatch(), 1);
  EXPECT_FALSE(is_running(49) || is_running(51));
}

}  // namespace
}  // namespace kestrine::test
