// The ends of a connection: the server leaves, in good order or not, and handlers that end it themselves.
#include <sys/resource.h>

#include <chrono>

#include "stream_test.h"
#include "transport/message_sink.h"

namespace kestrine::test {
namespace {

using namespace std::chrono_literals;

const Lines kBothTold = {"sync StatusChangeEvent 998", "async StatusChangeEvent 998"};

class LinkEndTest : public StreamTest {
 protected:
  // The notification of the server's closing has come.
  bool link_ends() {
    return pump_until([&] { return !connection->link_alive; });
  }
};

TEST_F(LinkEndTest, TheServersClosingIsToldOnceToEachObjectAfterWhatCameBefore) {
  start();
  peer.send(status_change(26) + status_change(27));
  peer.close();
  ASSERT_TRUE(link_ends());
  EXPECT_EQ(heard(),
            Lines({"sync StatusChangeEvent 26", "async StatusChangeEvent 26", "sync StatusChangeEvent 27",
                   "async StatusChangeEvent 27", "sync StatusChangeEvent 998", "async StatusChangeEvent 998"}));
  EXPECT_EQ(environment.beeps, (std::vector<Environment::Beep>{{1'000, 200}}));
  EXPECT_TRUE(connection->connected) << "until the application disconnects";
  EXPECT_NE(connection->socket, 0u);

  platform::send_message(generation.slots.message_sink->window(), transport::kSocketMessage, connection->socket,
                         platform::kSocketClosed);
  host::run_for(30ms);
  EXPECT_EQ(heard(), Lines()) << "a second notification is silent";
  EXPECT_EQ(environment.trace_keys(), Lines());

  EXPECT_EQ(told(connection->DisconnectEmbeddedSystem()), "ok");
  connect();
  EXPECT_TRUE(connection->link_alive);
  peer.close();
  ASSERT_TRUE(link_ends());
  EXPECT_EQ(heard(), kBothTold);
}

TEST_F(LinkEndTest, OnlyThePresentObjectsAreTold) {
  start(kAsync);
  peer.close();
  ASSERT_TRUE(link_ends());
  EXPECT_EQ(heard(), Lines({"async StatusChangeEvent 998"}));
}

TEST_F(LinkEndTest, OnlyUnderTheEventMethodAreTheyTold) {
  start();
  connection->SelectNotificationMethod(KR_NM_None, 0, 0);
  engine().MarkAnswerPending(7, true);
  peer.close();
  ASSERT_TRUE(link_ends());
  EXPECT_EQ(heard(), Lines());
  EXPECT_EQ(environment.beeps.size(), 1u);
  EXPECT_TRUE(engine().IsAnswerPending()) << "neither is a waiting call ended";
  engine().CancelPendingAnswer();
}

TEST_F(LinkEndTest, AServerThatSaysGoodbyeIsNotAnnouncedAgain) {
  start();
  peer.send(status_change(998));
  ASSERT_TRUE(arrives(1));
  EXPECT_FALSE(connection->link_alive);
  peer.close();
  EXPECT_TRUE(beeps(1'000));
  EXPECT_EQ(heard(), kBothTold);
}

TEST_F(LinkEndTest, AWaitingCallEndsWithTheServer) {
  start();
  peer.run([](ScriptedPeer& server) {
    server.receive_request();
    server.close();
  });
  EXPECT_EQ(told(commands->GoBirdBath()),
            "80004005 36 Kestrine.LTConnect.1: [54] \"Go Bird Bath\" failed  (status:  Unknown status)");
  EXPECT_FALSE(connection->link_alive);
}

TEST_F(LinkEndTest, AServerThatLeavesInMidPacketHangsNobody) {
  start();
  for (const bool in_good_order : {true, false}) {
    if (!in_good_order) connect();
    const Bytes whole = filled(36, VL_DT_ReflectorPosResult);
    const Bytes most(whole.begin(), whole.begin() + 20);
    peer.send(answer(VL_C_GoBirdBath, 0));
    ASSERT_TRUE(arrives(1));
    peer.send(status_change(26) + most);
    in_good_order ? peer.close() : peer.reset();
    ASSERT_TRUE(link_ends());
    EXPECT_EQ(packets.size(), 2u) << "what came before is dispatched";
    EXPECT_EQ(packets.back(), status_change(26));
    EXPECT_EQ(data(), most) << "what was read stays readable";
    EXPECT_EQ(environment.trace("recv4"), "unknown socket reading error");
    EXPECT_EQ(environment.trace("recv3"), in_good_order ? "" : "unknown socket reading error");
    EXPECT_EQ(beeps_of(250), in_good_order ? 1 : 2);
    const Lines events = heard();
    ASSERT_GE(events.size(), 2u);
    EXPECT_EQ(Lines(events.end() - 2, events.end()), kBothTold);
    packets.clear();
    EXPECT_EQ(told(connection->DisconnectEmbeddedSystem()), "ok");
  }
}

TEST_F(LinkEndTest, AServerThatLeavesInMidHeaderHangsNobodyAndSpoilsNoLaterConnection) {
  start();
  for (const std::size_t count : {3u, 4u, 7u}) {
    packets.clear();
    const Bytes whole = answer(VL_C_GoBirdBath, 0);
    peer.send(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(count)));
    peer.close();
    EXPECT_TRUE(link_ends()) << count;
    EXPECT_EQ(packets.size(), 0u);
    EXPECT_EQ(told(connection->DisconnectEmbeddedSystem()), "ok");
    connect();
    peer.send(whole);
    EXPECT_TRUE(arrives(1)) << count;
  }
}

TEST_F(LinkEndTest, AHandlerMayDisconnect) {
  start();
  sync_listener->handler = [&](DISPID) { return connection->DisconnectEmbeddedSystem(); };
  peer.send(status_change(26) + status_change(27));
  EXPECT_TRUE(pump_until([&] { return !connection->connected; }));
  EXPECT_TRUE(peer.client_leaves());
  host::run_for(20ms);
  EXPECT_EQ(heard(), Lines({"sync StatusChangeEvent 26", "async StatusChangeEvent 26"}));
  sync_listener->handler = {};
  connect();
  peer.send(status_change(27));
  EXPECT_TRUE(arrives(2));
}

TEST_F(LinkEndTest, APacketThatAHandlerLetsInLeavesTheOneAtHandAsItIs) {
  start();
  Bytes first = packet(36, VL_DT_ReflectorPosResult);
  put_f64(first, 12, 1);
  Bytes second = first;
  put_f64(second, 12, 2);
  peer.send(first + second);
  bool nested = false;
  sync_listener->handler = [&](DISPID) {
    if (std::exchange(nested, true)) return S_OK;
    EXPECT_TRUE(pump_until([&] { return packets.size() == 2; }));
    return S_OK;
  };
  ASSERT_TRUE(arrives(2));
  EXPECT_EQ(heard(), Lines({"sync ReflectorPositionData 1 0 0", "sync ReflectorPositionData 2 0 0",
                            "async ReflectorPositionData 2 0 0", "async ReflectorPositionData 1 0 0"}));
}

TEST_F(LinkEndTest, AHandlerOfTheServersClosingMayConnectAgain) {
  start();
  sync_listener->handler = [&](DISPID) {
    connection->DisconnectEmbeddedSystem();
    connect();
    return S_OK;
  };
  peer.close();
  ASSERT_TRUE(pump_until([&] { return heard() == kBothTold; }));
  EXPECT_TRUE(connection->connected);
  sync_listener->handler = {};
  peer.send(status_change(26));
  EXPECT_TRUE(arrives(1));
}

TEST_F(LinkEndTest, AHandlerMayReleaseEverything) {
  for (const bool on_close : {false, true}) {
    start();
    heard();
    sync_listener->handler = [&](DISPID) {
      connection.reset();
      commands.reset();
      async_commands.reset();
      return S_OK;
    };
    on_close ? peer.close() : peer.send(status_change(26) + status_change(27));
    ASSERT_TRUE(pump_until([&] { return !connection; }));
    host::run_for(20ms);
    EXPECT_EQ(heard().size(), 2u) << "the event at hand reaches both objects, and no other does";
    EXPECT_EQ(generation.slots.connection, nullptr);
    EXPECT_EQ(generation.slots.current_sync, nullptr);
    EXPECT_EQ(generation.slots.current_async, nullptr);
  }
}

TEST_F(LinkEndTest, AConnectionThatGoesWithATimerRunningLeavesNoneBehind) {
  start();
  commands->AddRef();
  platform::set_timer(generation.slots.message_sink->window(), 49, 1);
  connection.reset();
  host::run_for(20ms);
  EXPECT_FALSE(platform::kill_timer(generation.slots.message_sink->window(), 49));
  commands->Release();
}

TEST_F(LinkEndTest, AnIdleConnectionKeepsTheThreadAsleep) {
  start();
  peer.send(status_change(26));
  ASSERT_TRUE(arrives(1));
  ASSERT_TRUE(pump_until([&] { return host::dispatch() == 0; }));
  rusage before{};
  rusage after{};
  ::getrusage(RUSAGE_THREAD, &before);
  host::run_for(200ms);
  ::getrusage(RUSAGE_THREAD, &after);
  EXPECT_LE(after.ru_nvcsw - before.ru_nvcsw, 3) << "each wake-up is one";
}

}  // namespace
}  // namespace kestrine::test
