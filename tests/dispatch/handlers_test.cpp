// The server's closing as objects are told of it, and what their handlers may do from inside any event.
#include "client_test.h"
#include "kestrine/host.h"

namespace kestrine::test {
namespace {

const Lines kBothTold = {"sync StatusChangeEvent 998", "async StatusChangeEvent 998"};

class Closing : public ClientTest {};

TEST_F(Closing, IsToldOnceToEachObjectAfterWhatCameBefore) {
  start(kBoth);
  for (int round = 0; round < 2; ++round) {
    environment.beeps.clear();
    peer.send(status_change(26));
    peer.close();
    EXPECT_EQ(heard_in_time(4),
              (Lines{"sync StatusChangeEvent 26", "async StatusChangeEvent 26", kBothTold[0], kBothTold[1]}));
    EXPECT_EQ(environment.beeps, (std::vector<Environment::Beep>{{1'000, 200}}));
    EXPECT_TRUE(connection->link().is_connected()) << "until the application disconnects";
    generation.connection_events().on_closed(*connection);
    EXPECT_EQ(heard(), Lines()) << "a second notification is silent";
    EXPECT_EQ(environment.traces(), "");
    EXPECT_EQ(told(connection->DisconnectEmbeddedSystem()), "ok");
    connect();
  }
}

TEST_F(Closing, IsToldOnceToAnObjectAloneAlsoByAServerThatSaysGoodbye) {
  for (const bool says_goodbye : {false, true}) {
    start(kAsync);
    environment.beeps.clear();
    if (says_goodbye) peer.send(status_change(VL_SSC_ServerClosing));
    peer.close();
    EXPECT_TRUE(pump_until([&] { return !environment.beeps.empty(); }));
    EXPECT_EQ(heard(), Lines{kBothTold[1]});
    async_commands.reset(), connection.reset();
  }
}

class Handlers : public ClientTest {};

TEST_F(Handlers, MayDisconnect) {
  start(kBoth);
  sync_listener->handler = [&](DISPID) { return connection->DisconnectEmbeddedSystem(); };
  peer.send(status_change(26) + status_change(27));
  EXPECT_TRUE(pump_until([&] { return !connection->link().is_connected(); }));
  EXPECT_TRUE(peer.client_leaves());
  sync_listener->handler = {};
  connect();
  peer.send(status_change(25));
  EXPECT_EQ(heard_in_time(4), (Lines{"sync StatusChangeEvent 26", "async StatusChangeEvent 26",
                                     "sync StatusChangeEvent 25", "async StatusChangeEvent 25"}))
      << "what had not been read is lost";
}

TEST_F(Handlers, MayLetPacketsInThatLeaveTheOneAtHandAsItIs) {
  start(kBoth);
  Bytes first = packet(36, VL_DT_ReflectorPosResult);
  put_f64(first, 12, 1);
  Bytes second = first;
  put_f64(second, 12, 2);
  sync_listener->handler = [&](DISPID) {
    sync_listener->handler = {};
    peer.send(second);
    EXPECT_TRUE(pump_until([&] { return data() == second; }));
    return S_OK;
  };
  peer.send(first);
  EXPECT_EQ(heard_in_time(4), Lines({"sync ReflectorPositionData 1 0 0", "sync ReflectorPositionData 2 0 0",
                                     "async ReflectorPositionData 2 0 0", "async ReflectorPositionData 1 0 0"}));
}

TEST_F(Handlers, OfTheServersClosingMayConnectAgain) {
  start(kBoth);
  sync_listener->handler = [&](DISPID) {
    sync_listener->handler = {};
    connection->DisconnectEmbeddedSystem();
    connect();
    return S_OK;
  };
  peer.close();
  EXPECT_EQ(heard_in_time(2), kBothTold);
  EXPECT_TRUE(connection->link().is_connected());
  receive(status_change(26));
}

TEST_F(Handlers, MayReleaseEverything) {
  Bytes failed_point = packet(156, VL_DT_SingleMeasResult);
  put_i32(failed_point, 8, 5);
  const struct {
    Bytes bytes;            // none: the server's closing
    std::size_t sync_said;  // how many events there are when the synchronous object's handler releases everything
    std::size_t async_said;
  } rows[] = {{{}, 2, 2},
              {status_change(26) + status_change(27), 2, 2},
              {status_change(998), 2, 2},
              {failed_point, 2, 2},
              {answer(VL_C_Park, 0), 0, 1}};
  for (const auto& row : rows) {
    for (const bool by_sync : {true, false}) {
      const std::size_t said = by_sync ? row.sync_said : row.async_said;
      if (said == 0) continue;
      SCOPED_TRACE(testing::Message() << "row " << &row - rows << ", by_sync " << by_sync);
      start(kBoth);
      (by_sync ? sync_listener : async_listener)->handler = [&](DISPID) {
        commands.reset(), async_commands.reset(), connection.reset();
        return S_OK;
      };
      row.bytes.empty() ? peer.close() : peer.send(row.bytes);
      ASSERT_TRUE(pump_until([&] { return !connection; }));
      if (!row.bytes.empty()) {
        EXPECT_TRUE(peer.client_leaves());
      }
      host::dispatch();
      EXPECT_EQ(heard().size(), said) << "the event at hand reaches both objects, and no other does";
      EXPECT_EQ(generation.connection(), nullptr);
      EXPECT_EQ(generation.objects().sync(), nullptr);
      EXPECT_EQ(generation.objects().async(), nullptr);
    }
  }
}

TEST_F(Handlers, MayReleaseEverythingDuringACallAndOfChangesThatItHeldBack) {
  for (const auto& changes : {std::vector{26}, {17, 18}}) {
    start();
    ILTCommandSync* const object = commands.get();
    sync_listener->handler = [&](DISPID) {
      commands.reset(), connection.reset();
      return S_OK;
    };
    for (const std::int32_t change : changes) peer.send(status_change(change));
    peer.send(answer(VL_C_ReleaseMotors, 0));
    EXPECT_EQ(told(object->ReleaseMotors()), "ok");
    Lines expected;
    for (const std::int32_t change : changes) expected.push_back("sync StatusChangeEvent " + std::to_string(change));
    EXPECT_EQ(heard_in_time(changes.size()), expected);
    EXPECT_EQ(generation.connection(), nullptr);
    EXPECT_EQ(generation.objects().sync(), nullptr);
    EXPECT_TRUE(peer.client_leaves());
  }
}

}  // namespace
}  // namespace kestrine::test
