// Connecting and disconnecting.
#include <chrono>

#include "client_test.h"
#include "kestrine/text.h"
#include "platform/clock.h"
#include "platform/socket.h"
#include "platform/test_clock.h"

namespace kestrine::test {
namespace {

using namespace std::chrono_literals;

const std::string kNoSink = "Creation of LTConnect object failed (fatal error) !";
const std::string kNotReached = "Connection to Vorelan server failed.\nCheck host-id, port# and server availability!";

class ConnectionTest : public ClientTest {
 protected:
  std::string try_connect(std::u16string_view address, std::int32_t port) {
    return told(connection->ConnectEmbeddedSystem(Text(address), port));
  }
  std::string disconnect() { return told(connection->DisconnectEmbeddedSystem()); }
  int is_connected() {
    VARIANT_BOOL value = 77;
    EXPECT_EQ(connection->get_IsConnected(&value), S_OK);
    return value;
  }
  void expect_that_packets_arrive() { receive(status_change(26)); }
  // As the text of a failure, and as both objects' events.
  void expect_failure(const std::string& outcome, int number, const std::string& text) {
    const std::string event = " ExceptionEvent " + std::to_string(number) + " '" + text + "'";
    EXPECT_EQ(outcome, "80004005 " + std::to_string(number) + " Kestrine.LTConnect.1: " + text);
    EXPECT_EQ(heard(), Lines({"sync" + event, "async" + event}));
  }
};

TEST_F(ConnectionTest, ConnectsByDottedAddressAndByBareName) {
  make();
  const platform::ShortWaits short_waits(20ms);
  environment.set(u"ConnectionTimeout", 10'000);
  const std::uint32_t before = platform::tick_count();
  for (const int nonblocking : {0, 1}) {
    environment.set(u"NonblockingConnect", nonblocking);
    for (const auto address : {u"127.0.0.1", u"localhost"}) {
      EXPECT_EQ(is_connected(), 0);
      EXPECT_FALSE(connection->link().is_open());
      EXPECT_EQ(try_connect(address, peer.port() + 65'536), "ok") << "a port counts by its low sixteen bits";
      peer.accept();
      EXPECT_EQ(is_connected(), 1) << "1, not -1";
      expect_that_packets_arrive();
      EXPECT_EQ(disconnect(), "ok");
      EXPECT_EQ(is_connected(), 0);
      EXPECT_TRUE(peer.client_leaves());
      EXPECT_EQ(disconnect(), "ok") << "without a connection";
    }
  }
  EXPECT_LT(platform::tick_count() - before, 8'000u) << "the rest of the timeout is not waited for";
}

TEST_F(ConnectionTest, ANameIsLookedUpUnlessItHasADot) {
  make(kBoth);
  const std::string not_found = "gethostbyname() failed.\nCheck DNS / hostname !";
  for (const auto& name : {std::u16string(), std::u16string(100, u'x'), std::u16string(u"no such host")}) {
    expect_failure(try_connect(name, peer.port()), 40010, not_found);
    EXPECT_EQ(is_connected(), 0);
  }
  expect_failure(told(connection->ConnectEmbeddedSystem(nullptr, 1)), 40010, not_found);
  for (const auto name : {u"localhost.", u"localhost.localdomain", u".", u"1.2.3.4.5", u"1.2.3.256"}) {
    expect_failure(try_connect(name, peer.port()), 40011, kNotReached);
  }
}

TEST_F(ConnectionTest, AServerThatDoesNotListenIsAFailureAfterTheTimeoutAndAMissingWindowOneAtOnce) {
  make(kBoth);
  const std::uint16_t nobody = unused_port();
  expect_failure(try_connect(u"127.0.0.1", nobody), 40011, kNotReached);

  environment.set(u"NonblockingConnect", 1);
  environment.set(u"ConnectionTimeout", 250'000);
  const platform::ShortWaits at_once(0ms);
  const std::uint32_t before = platform::tick_count();
  expect_failure(try_connect(u"127.0.0.1", nobody), 40011, kNotReached);
  const std::uint32_t time = platform::tick_count() - before;
  EXPECT_TRUE(time >= 250'000 && time < 260'000) << time;
  EXPECT_EQ(is_connected(), 0);
  EXPECT_TRUE(connection->link().is_open()) << "the closed handle stays until the next attempt";
  EXPECT_EQ(disconnect(), "ok");
  platform::destroy_window(generation.window());
  expect_failure(try_connect(u"127.0.0.1", peer.port()), 40015, kNoSink);
}

TEST_F(ConnectionTest, WithoutATimeoutNothingIsAttemptedAndTheConnectionCountsAsMade) {
  make();
  environment.set(u"NonblockingConnect", 1);
  environment.set(u"ConnectionTimeout", 0);
  EXPECT_EQ(try_connect(u"127.0.0.1", unused_port()), "ok");
  EXPECT_EQ(is_connected(), 1);
  EXPECT_EQ(told(commands->GoBirdBath()),
            "80004005 40002 Kestrine.LTConnect.1: Invoking command \"Go Bird Bath\" [54] failed!");
}

TEST_F(ConnectionTest, FailuresOfAConnectionInUseLeaveAnObjectThatWorksAndItsData) {
  start(kBoth);
  expect_failure(try_connect(u"127.0.0.1", peer.port()), 40009, "Object already connected to server\n");
  EXPECT_EQ(is_connected(), 1);
  receive(answer(VL_C_GoBirdBath, 17));
  heard();
  platform::close_socket(static_cast<platform::SocketHandle>(peer.client_descriptor()));
  expect_failure(disconnect(), 40017, "closesocket() failed !");
  EXPECT_EQ(is_connected(), 0);
  EXPECT_EQ(disconnect(), "ok") << "it is told once";
  connect();
  EXPECT_EQ(data(), answer(VL_C_GoBirdBath, 17));
  VL_ResultStatus status{};
  EXPECT_EQ(connection->get_LastResultStatus(&status), S_OK);
  EXPECT_EQ(status, 17);
  expect_that_packets_arrive();
}

}  // namespace
}  // namespace kestrine::test
