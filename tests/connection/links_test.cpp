// What becomes of a link where the system or the server gives way: in both behaviours.
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <fstream>

#include "client_test.h"
#include "kestrine/host.h"
#include "platform/test_clock.h"

namespace {

int watched_socket = -1;
std::size_t room = 0;  // what the system takes of what this one sends

}  // namespace

// In place of the system's.
extern "C" [[gnu::visibility("default")]] ssize_t send(int socket, const void* bytes, std::size_t count, int flags) {
  if (socket == watched_socket) {
    if (room == 0) {
      errno = EAGAIN;
      return -1;
    }
    count = std::min(count, room);
    room -= count;
  }
  return ::sendto(socket, bytes, count, flags, nullptr, 0);
}

namespace kestrine::test {
namespace {

using namespace std::chrono_literals;

class Links : public BothBehaviours {
 protected:
  static int option(int socket, int level, int name) {
    int value = 0;
    socklen_t length = sizeof value;
    EXPECT_EQ(::getsockopt(socket, level, name, &value, &length), 0);
    return value;
  }
};

INSTANTIATE_TEST_SUITE_P(Behaviour, Links, kBehaviours, behaviour_name);

TEST_P(Links, APeerThatVanishesIsNoticedAsSoonWithARequestOnItsWay) {
  start();
  const auto of_tcp = [this](int name) { return option(peer.client_descriptor(), IPPROTO_TCP, name); };
  const int idle = of_tcp(TCP_KEEPIDLE) + of_tcp(TCP_KEEPCNT) * of_tcp(TCP_KEEPINTVL);
  EXPECT_EQ(of_tcp(TCP_USER_TIMEOUT), idle * 1000);
}

TEST_P(Links, TheReceiveBufferHoldsAQuarterOfAMegabyte) {
  start();
  int most = 0;
  std::ifstream("/proc/sys/net/core/rmem_max") >> most;
  const int twice = 2 * std::min(most, 262'144);  // the system doubles what it is asked for
  EXPECT_EQ(option(peer.client_descriptor(), SOL_SOCKET, SO_RCVBUF), twice);
}

// A server that reads nothing, as the system shows it: bytes are taken as long as there is room.
class FullLinks : public Links {
 protected:
  void SetUp() override {
    start(kBoth);
    watched_socket = peer.client_descriptor();
  }
  void TearDown() override {
    watched_socket = -1;
    host::set_give_up_hook({});
  }

  std::string send() { return told(async_commands->SetMeasurementMode(VL_MM_Standard)).substr(0, 14); }
  // While a call waits for room.
  void then(std::function<bool()> task) {
    host::set_give_up_hook([this, task] {
      ++asked;
      return task();
    });
  }
  static bool make_room() {
    room = 1000;
    return false;
  }

  const bool is_modern = test::is_modern(GetParam());
  const Bytes one = request(VL_C_SetMeasurementMode, {VL_MM_Standard, 0, 0, 0});
  int asked = 0;
};

INSTANTIATE_TEST_SUITE_P(Behaviour, FullLinks, kBehaviours, behaviour_name);

TEST_P(FullLinks, ARequestTakenInPartIsCompletedWhenTheServerReadsAgain) {
  room = 10;
  then(make_room);
  EXPECT_EQ(send(), "ok");
  EXPECT_EQ(asked, 1);
  EXPECT_EQ(peer.receive_request(), one);
}

TEST_P(FullLinks, ARequestThatStaysInPartEndsTheLinkWithinTheTimeOfACall) {
  room = 10;
  const platform::TimePoint start = platform::now();
  then([] { return platform::advance_clock(100ms), false; });
  EXPECT_EQ(send(), is_modern ? "80004005 40002" : "ok");
  EXPECT_LT(platform::now() - start, 11s);
  make_room();
  EXPECT_EQ(send(), "80004005 40002") << "nothing can follow half a request";
  const Lines told = heard_in_time(is_modern ? 6 : 4);
  EXPECT_EQ(told.back(), "async StatusChangeEvent " + std::to_string(VL_SSC_ServerClosing));
  EXPECT_EQ(peer.receive(10), cut(one, 10).first);
  EXPECT_TRUE(peer.client_leaves());
}

TEST_P(FullLinks, ARequestOfWhichNothingIsTakenWaitsInModernBehaviourAndLeavesTheLinkAlone) {
  room = 0;
  then([] { return true; });
  EXPECT_EQ(send(), "80004005 40002");
  then(make_room);
  EXPECT_EQ(send(), is_modern ? "ok" : "80004005 40002");
  EXPECT_EQ(asked, is_modern ? 2 : 0);
  make_room();
  EXPECT_EQ(send(), "ok");
  EXPECT_EQ(peer.receive_request(), one);
}

}  // namespace
}  // namespace kestrine::test
