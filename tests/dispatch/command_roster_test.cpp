// Which command objects there are, whose they are, and what becomes of those that nobody uses.
#include "client_test.h"
#include "kestrine/com_error.h"
#include "kestrine/text.h"

namespace kestrine::test {
namespace {

using dispatch::CommandSet;

const std::string kNoObject =
    "80004005 -1 Kestrine.LTConnect.1: LTCommand<xxx> object not initialized!\n"
    "You must call LTConnect::ConnectEmbeddedSystem() first !";

class CommandRosterTest : public ClientTest {
 protected:
  // Objects that the application makes for itself.
  Pointer<SyncObject> own_sync() { return Pointer<SyncObject>::adopt(new SyncObject(keep_generation)); }
  Pointer<AsyncObject> own_async() { return Pointer<AsyncObject>::adopt(new AsyncObject(keep_generation)); }
  void create_connection() { connection = Pointer<Connect>::adopt(new Connect(keep_generation)); }
  // What reading the property comes to.
  std::string fetch(CommandSet set) {
    Pointer<IUnknown> object;
    const std::string outcome = told(set == CommandSet::kSync ? connection->get_ILTCommandSync(object.put())
                                                              : connection->get_ILTCommandAsync(object.put()));
    EXPECT_EQ(static_cast<bool>(object), outcome == "ok");
    return outcome;
  }
  void serve() {
    connect();
    peer.serve([](const Bytes&) { return answer(VL_C_GoBirdBath, 0); });
  }
};

TEST_F(CommandRosterTest, APropertyHandsOutTheSameObjectEachTime) {
  create_connection();
  EXPECT_EQ(generation.objects().sync(), nullptr);
  EXPECT_FALSE(process.has_fetched_objects());
  for (const auto property : {&Connect::get_ILTCommandSync, &Connect::get_ILTCommandAsync}) {
    const auto set = property == &Connect::get_ILTCommandSync ? CommandSet::kSync : CommandSet::kAsync;
    EXPECT_FALSE(connection->is_used_by(set));
    Pointer<IUnknown> first;
    Pointer<IUnknown> second;
    EXPECT_EQ((connection.get()->*property)(first.put()), S_OK);
    EXPECT_EQ((connection.get()->*property)(second.put()), S_OK);
    EXPECT_EQ(first.get(), second.get());
    EXPECT_EQ(first->AddRef(), 4u) << "the connection's, and one for each reading";
    first->Release();
    EXPECT_TRUE(connection->is_used_by(set));
  }
  EXPECT_TRUE(process.has_fetched_objects());
}

TEST_F(CommandRosterTest, AnObjectOutlivesItsConnectionWhileItIsHeld) {
  start();
  connection.reset();
  EXPECT_TRUE(peer.client_leaves());
  EXPECT_EQ(generation.connection(), nullptr);
  EXPECT_EQ(told(commands->GoBirdBath()).substr(0, 14), "80004005 40002");
  commands.reset();
  EXPECT_EQ(generation.objects().sync(), nullptr);
}

TEST_F(CommandRosterTest, TheFirstCallThatFitsTheModeDropsTheConnectionsOwnObjectOfTheOtherKind) {
  const struct {
    Objects objects;
    bool fits;
    std::string sync;  // what reading the properties comes to afterwards
    std::string async;
  } rows[] = {{kSync, true, "ok", kNoObject},
              {kSync, false, "ok", "ok"},
              {kAsync, true, kNoObject, "ok"},
              {kAsync, false, "ok", "ok"},
              {kBoth, true, "ok", "ok"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << "objects " << row.objects << ", fits " << row.fits);
    make(row.objects);
    const auto call = [&](auto&& object) {
      EXPECT_EQ(row.fits ? object->GoBirdBath() : object->StartContinuousPointMeasurement(), E_FAIL) << "no server";
    };
    row.objects == kAsync ? call(async_commands) : call(commands);
    EXPECT_EQ(fetch(CommandSet::kSync), row.sync);
    EXPECT_EQ(fetch(CommandSet::kAsync), row.async);
    commands.reset(), async_commands.reset(), connection.reset();
  }
}

TEST_F(CommandRosterTest, AnApplicationsOwnObjectsTakeThePlaceOfTheConnections) {
  create_connection();
  const auto sync = own_sync();
  EXPECT_EQ(generation.objects().sync(), sync.get());
  EXPECT_TRUE(connection->is_used_by(CommandSet::kSync));
  const auto async = own_async();
  EXPECT_EQ(generation.objects().async(), async.get());
  EXPECT_TRUE(connection->is_used_by(CommandSet::kAsync));
  serve();
  EXPECT_EQ(told(sync->GoBirdBath()), "ok");
  EXPECT_EQ(fetch(CommandSet::kSync), kNoObject);
  EXPECT_EQ(generation.objects().sync(), nullptr) << "the property has put the missing object in place";
  peer.close();
  outlive_the_suspicion();
}

TEST_F(CommandRosterTest, AnObjectMadeBeforeTheConnectionIsLinkedByIt) {
  const auto sync = own_sync();
  create_connection();
  EXPECT_TRUE(connection->is_used_by(CommandSet::kSync));
  serve();
  EXPECT_EQ(told(sync->GoBirdBath()), "ok");
  peer.close();
}

TEST_F(CommandRosterTest, AnObjectMadeAfterThePropertyWasReadTakesOverTheAnswers) {
  start();
  const auto sync = own_sync();
  EXPECT_EQ(generation.objects().sync(), sync.get());
  outlive_the_suspicion();
}

TEST_F(CommandRosterTest, AStreamOutOfStepEndsAlsoTheWaitOfAnObjectThatTheConnectionDoesNotUse) {
  make(kAsync);
  const auto sync = own_sync();
  EXPECT_FALSE(connection->is_used_by(CommandSet::kSync));
  sync->begin_wait(VL_C_Park);
  generation.connection_events().on_out_of_step();
  EXPECT_FALSE(sync->is_answer_pending());
  outlive_the_suspicion();
}

TEST_F(CommandRosterTest, AMissingObjectFollowsTheExceptionPolicy) {
  create_connection();
  connection->put_ExceptionHandlingPolicy(1);
  generation.objects().release_internal();
  Pointer<IUnknown> object;
  EXPECT_THROW(connection->get_ILTCommandSync(object.put()), _com_error);
}

TEST_F(CommandRosterTest, ObjectsGoWithTheConnectionAndWithoutAWord) {
  create_connection();
  connection.reset();
  EXPECT_TRUE(process.can_unload()) << "nobody fetched them";
  make(kBoth);
  commands.reset(), async_commands.reset(), sync_listener.reset(), async_listener.reset(), connection.reset();
  EXPECT_TRUE(process.can_unload());
  EXPECT_EQ(generation.objects().sync(), nullptr);
  EXPECT_EQ(generation.objects().async(), nullptr);
}

TEST_F(CommandRosterTest, ASecondConnectionTakesTheFirstOnesPlaceAndItsPackets) {
  create_connection();
  const auto first = connection;
  Pointer<IUnknown> firsts;
  ASSERT_EQ(first->get_ILTCommandSync(firsts.put()), S_OK);
  outlive_the_suspicion();
  create_connection();
  EXPECT_EQ(generation.connection(), connection.get());
  firsts->AddRef();
  EXPECT_EQ(firsts->Release(), 1u) << "the object in whose place another has come is let go";

  outlive_the_suspicion();
  EXPECT_EQ(told(first->ConnectEmbeddedSystem(Text("127.0.0.1"), peer.port())), "ok");
  peer.accept();
  for (int round = 1; round <= 2; ++round) {
    peer.send(status_change(round));
    EXPECT_TRUE(pump_until([&] {
      const auto packet = connection->buffers().latest();
      return packet.size() == 12 && get_i32(packet, 8) == round;
    }));
  }
  EXPECT_TRUE(first->buffers().latest().empty());
  EXPECT_EQ(first->last_result_status(), VL_RS_Unknown);

  // The second connection goes first: what arrives now has nowhere to go.
  connection.reset();
  peer.send(status_change(3));
  EXPECT_EQ(told(first->DisconnectEmbeddedSystem()), "ok");
  EXPECT_TRUE(peer.client_leaves());
  EXPECT_EQ(told(first->ConnectEmbeddedSystem(Text("127.0.0.1"), peer.port())), "ok");
}

TEST_F(CommandRosterTest, AFirstConnectionThatGoesDropsTheUnfetchedObjectsWhosesoeverTheyAre) {
  create_connection();
  create_connection();
  EXPECT_EQ(fetch(CommandSet::kSync), kNoObject);
}

TEST_F(CommandRosterTest, AFirstConnectionThatGoesLeavesAFetchedSecondWorking) {
  create_connection();
  auto first = connection;
  make();
  first.reset();
  serve();
  EXPECT_EQ(told(commands->GoBirdBath()), "ok");
  peer.close();
}

TEST_F(CommandRosterTest, ConnectionsThatComeAndGoLeaveNoWindowsBehind) {
  std::vector<platform::WindowHandle> windows;
  for (int i = 0; i < 20; ++i) {
    create_connection();
    windows.push_back(generation.window());
  }
  EXPECT_LE(std::ranges::count_if(windows, platform::is_window), 2);
  connection.reset();
  EXPECT_EQ(std::ranges::count_if(windows, platform::is_window), 0);
}

class HousekeepingTest : public BothBehaviours {};

TEST_P(HousekeepingTest, DropsAnObjectThatIsTooYoungWithAWarningOrNone) {
  const bool keeps = is_modern(GetParam());
  connection = Pointer<Connect>::adopt(new Connect(keep_generation));
  Pointer<IUnknown> object;
  EXPECT_EQ(connection->get_ILTCommandSync(object.put()), S_OK);
  EXPECT_EQ(object.query<ILTCommandSync>()->GoBirdBath(), E_FAIL) << "no server";
  EXPECT_EQ(std::exchange(environment.message_boxes, {}).size(), keeps ? 0u : 1u);
  EXPECT_EQ(connection->get_ILTCommandAsync(object.put()), keeps ? S_OK : E_FAIL);
  object.reset(), connection.reset();
  environment.message_boxes.clear();
}

INSTANTIATE_TEST_SUITE_P(Behaviour, HousekeepingTest, kBehaviours, behaviour_name);

}  // namespace
}  // namespace kestrine::test
