// How a host is found and connected to in modern behaviour, and lines that are slow or stall, in either.
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <thread>

#include "client_test.h"
#include "kestrine/host.h"
#include "kestrine/text.h"
#include "platform/socket.h"

namespace kestrine::test {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

class ModernConnection : public ClientTest {
 protected:
  ModernConnection() : ClientTest(connection::kModernRules) {
    make();
    host::set_log_hook([this](const std::string& line) { log.push_back(line); });
  }
  ~ModernConnection() override {
    host::set_give_up_hook({});
    host::set_log_hook({});
  }
  std::string try_connect(std::u16string_view address, std::int32_t port) {
    const std::string outcome = told(connection->ConnectEmbeddedSystem(Text(address), port));
    return outcome.substr(0, outcome.find(" Kestrine"));
  }

  Lines log;
};

TEST_F(ModernConnection, ANameMayHaveDotsAndTheReasonOfAFailureIsLogged) {
  EXPECT_EQ(try_connect(u"no.such.host.invalid", 1), "80004005 40010");
  EXPECT_TRUE(log.back().starts_with("cannot connect to no.such.host.invalid port 1: ")) << log.back();
  const std::uint16_t nobody = unused_port();
  environment.set(u"ConnectionTimeout", 100'000);
  const auto before = Clock::now();
  EXPECT_EQ(try_connect(u"localhost", nobody), "80004005 40011");
  EXPECT_LT(Clock::now() - before, 10s) << "a refusal is not waited out";
  EXPECT_EQ(log.back(), "cannot connect to localhost port " + std::to_string(nobody) + ": Connection refused");
  EXPECT_EQ(try_connect(u"localhost", peer.port()), "ok");
}

TEST_F(ModernConnection, AHostMayHaveAnIPv6Address) {
  const int listener = ::socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in6 own{};
  own.sin6_family = AF_INET6;
  own.sin6_addr = in6addr_loopback;
  socklen_t length = sizeof own;
  if (listener < 0 || ::bind(listener, reinterpret_cast<sockaddr*>(&own), length) != 0) GTEST_SKIP() << "no IPv6 here";
  EXPECT_EQ(::listen(listener, 1), 0);
  EXPECT_EQ(::getsockname(listener, reinterpret_cast<sockaddr*>(&own), &length), 0);
  EXPECT_EQ(try_connect(u"::1", ntohs(own.sin6_port)), "ok");
  ::close(listener);
}

// A listener whose queue is full answers no more: connecting goes on until somebody ends it.
TEST_F(ModernConnection, ConnectingEndsInTimeAndWhenTheHostGivesUp) {
  ASSERT_EQ(platform::socket_startup(0x0101), 0);
  std::array<platform::SocketHandle, 12> queue;  // more than the system lets wait for the peer
  for (auto& each : queue) {
    each = platform::open_socket();
    platform::set_non_blocking(each, true);
    platform::connect_socket(each, htonl(INADDR_LOOPBACK), peer.port());
  }
  environment.set(u"ConnectionTimeout", 200);
  EXPECT_EQ(try_connect(u"127.0.0.1", peer.port()), "80004005 40011");
  EXPECT_NE(log.back().find("timed out"), std::string::npos) << log.back();
  environment.set(u"ConnectionTimeout", 100'000);
  host::set_give_up_hook([] { return true; });
  const auto before = Clock::now();
  EXPECT_EQ(try_connect(u"127.0.0.1", peer.port()), "80004005 40011");
  EXPECT_LT(Clock::now() - before, 10s);
  EXPECT_EQ(try_connect(u"no.such.host.invalid", 1), "80004005 40010");
  for (const auto each : queue) platform::close_socket(each);
}

TEST_F(ModernConnection, ASenselessTimeoutNeverMeansConnected) {
  environment.set(u"ConnectionTimeout", 0);
  EXPECT_EQ(try_connect(u"127.0.0.1", unused_port()), "80004005 40011");
  EXPECT_FALSE(connection->link().is_connected());
}

class SlowLine : public BothBehaviours {};

// Ten million bits a second, and many small pieces as fast as they can be sent.
TEST_P(SlowLine, BringsTheLargestPacketWhole) {
  start();
  const Bytes whole = filled(131'071, VL_DT_Command);
  constexpr std::size_t kSmallPiece = 100;
  for (const std::size_t piece : {std::size_t{1'250}, kSmallPiece}) {
    connection->buffers().set_latest({});
    peer.run([&, piece](ScriptedPeer& server) {
      for (std::size_t at = 0; at < whole.size(); at += piece) {
        server.send(std::span(whole).subspan(at, std::min(piece, whole.size() - at)));
        if (piece != kSmallPiece) std::this_thread::sleep_for(1ms);
      }
    });
    EXPECT_TRUE(pump_until([&] { return connection->buffers().latest().size() == whole.size(); })) << piece;
    peer.finish();
    EXPECT_EQ(data(), whole);
  }
  EXPECT_EQ(environment.traces(), "");
}

INSTANTIATE_TEST_SUITE_P(Behaviour, SlowLine, kBehaviours, behaviour_name);

}  // namespace
}  // namespace kestrine::test
