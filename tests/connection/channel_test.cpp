// The way between library and server over a real socket: packets broken off, and the messages of the hidden
// window.
#include "connection/channel.h"

#include <algorithm>

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

TEST_F(ChannelTest, AServerThatLeavesInMidPacketHangsNobody) {
  for (const bool in_good_order : {true, false}) {
    start();
    environment.beeps.clear();
    const Bytes most = cut(filled(36, VL_DT_ReflectorPosResult), 20).first;
    peer.send(status_change(26) + most);
    in_good_order ? peer.close() : peer.reset();
    EXPECT_EQ(heard_in_time(2), (Lines{"sync StatusChangeEvent 26", "sync StatusChangeEvent 998"}));
    EXPECT_EQ(data(), most) << "what was read stays readable";
    EXPECT_NE(text_of(environment.directory() / "Kestrine.ini").find("\nrecv4=unknown socket reading error\n"),
              std::string::npos);
    EXPECT_EQ(environment.trace_keys(), in_good_order ? Lines({"recv4"}) : Lines({"recv4", "recv3"}));
    EXPECT_EQ(std::ranges::count(environment.beeps, Environment::Beep(250, 10)), 1);
    EXPECT_EQ(environment.beeps.back(), Environment::Beep(1'000, 200));
    commands.reset(), connection.reset();
  }
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
