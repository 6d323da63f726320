// Which command objects there are, whose they are, and what becomes of those that nobody uses.
#include <thread>

#include "client_test.h"
#include "kestrine/com_error.h"
#include "kestrine/text.h"

namespace kestrine::test {
namespace {

using namespace std::chrono_literals;

const std::string kNoObject =
    "80004005 -1 Kestrine.LTConnect.1: LTCommand<xxx> object not initialized!\n"
    "You must call LTConnect::ConnectEmbeddedSystem() first !";

// Counts its references and has no interface to offer.
class Stub final : public IUnknown {
 public:
  HRESULT QueryInterface(const IID&, void** object) override {
    *object = nullptr;
    return E_NOINTERFACE;
  }
  ULONG AddRef() override { return ++count; }
  ULONG Release() override { return --count; }
  ULONG count = 1;
};

class StubCommands final : public transport::AsyncCommands {
 public:
  explicit StubCommands(transport::AsyncCommands& real) : real_(real) {}
  IUnknown* unknown() override { return &stub; }
  events::CProxy_ILTCommandAsyncEvents& event_source() override { return real_.event_source(); }
  void retire() override {}
  void clear_vertical_speed() override {}
  void clear_horizontal_speed() override {}
  Stub stub;

 private:
  transport::AsyncCommands& real_;
};

class CommandObjectsTest : public ClientTest {
 protected:
  // An object that the application makes for itself.
  Pointer<component::CLTCommandSync> own_sync() {
    return Pointer<component::CLTCommandSync>::adopt(new component::CLTCommandSync(generation.slots));
  }
  Pointer<component::CLTCommandAsync> own_async() {
    return Pointer<component::CLTCommandAsync>::adopt(new component::CLTCommandAsync(generation.slots));
  }
  void create_connection() {
    connection = Pointer<component::CLTConnect>::adopt(new component::CLTConnect(generation.slots));
  }
  // Objects that go younger than this look like a mixture of generations.
  static void outlive_the_suspicion() { std::this_thread::sleep_for(110ms); }

  transport::Slots& slots = generation.slots;
};

TEST_F(CommandObjectsTest, APropertyHandsOutTheSameObjectEachTime) {
  create_connection();
  EXPECT_FALSE(connection->sync_present || connection->async_present);
  EXPECT_EQ(slots.current_sync, nullptr);
  EXPECT_TRUE(process.objects_not_yet_fetched);
  for (const auto property :
       {&component::CLTConnect::get_ILTCommandSync, &component::CLTConnect::get_ILTCommandAsync}) {
    Pointer<IUnknown> first;
    Pointer<IUnknown> second;
    EXPECT_EQ((connection.get()->*property)(first.put()), S_OK);
    EXPECT_EQ((connection.get()->*property)(second.put()), S_OK);
    EXPECT_EQ(first.get(), second.get());
    EXPECT_EQ(first->AddRef(), 4u) << "the connection's, and one for each reading";
    first->Release();
  }
  EXPECT_TRUE(connection->sync_present && connection->async_present);
  EXPECT_EQ(slots.current_sync, slots.internal_sync);
  EXPECT_EQ(slots.current_async, slots.internal_async);
  EXPECT_FALSE(process.objects_not_yet_fetched);
}

TEST_F(CommandObjectsTest, AnObjectOutlivesItsConnectionWhileItIsHeld) {
  start();
  connection.reset();
  EXPECT_TRUE(peer.client_leaves());
  EXPECT_EQ(slots.connection, nullptr);
  EXPECT_EQ(told(commands->GoBirdBath()).substr(0, 14), "80004005 40002");
  commands.reset();
  EXPECT_EQ(slots.current_sync, nullptr);
  EXPECT_EQ(slots.internal_sync, nullptr);
}

TEST_F(CommandObjectsTest, TheFirstCallDropsTheConnectionsOwnObjectOfTheOtherKind) {
  make(kSync);
  EXPECT_NE(slots.internal_async, nullptr);
  commands->GoBirdBath();
  EXPECT_EQ(slots.internal_async, nullptr);
  EXPECT_NE(slots.internal_sync, nullptr);
  Pointer<IUnknown> object;
  EXPECT_EQ(told(connection->get_ILTCommandAsync(object.put())), kNoObject);
  EXPECT_FALSE(object);
  EXPECT_FALSE(connection->async_present);
}

TEST_F(CommandObjectsTest, WithBothKindsInUseNeitherIsDropped) {
  make(kBoth);
  commands->GoBirdBath();
  EXPECT_NE(slots.internal_async, nullptr);
  EXPECT_NE(slots.internal_sync, nullptr);
}

TEST_F(CommandObjectsTest, AnApplicationsOwnObjectsTakeThePlaceOfTheConnections) {
  create_connection();
  const auto sync = own_sync();
  EXPECT_EQ(slots.current_sync, sync.get());
  EXPECT_EQ(slots.internal_sync, nullptr);
  EXPECT_NE(slots.internal_async, nullptr);
  EXPECT_TRUE(connection->sync_present);
  const auto async = own_async();
  EXPECT_EQ(slots.current_async, async.get());
  EXPECT_EQ(slots.internal_async, nullptr);
  EXPECT_TRUE(connection->async_present);

  connect();
  peer.serve([](const Bytes&) { return answer(VL_C_GoBirdBath, 0); });
  EXPECT_EQ(told(sync->GoBirdBath()), "ok");

  Pointer<IUnknown> object;
  EXPECT_EQ(told(connection->get_ILTCommandSync(object.put())), kNoObject);
  EXPECT_EQ(slots.current_sync, nullptr) << "the property has put the missing object in place";
  peer.close();
  outlive_the_suspicion();
}

TEST_F(CommandObjectsTest, AnObjectMadeBeforeTheConnectionIsLinkedByIt) {
  const auto sync = own_sync();
  EXPECT_EQ(slots.current_sync, sync.get());
  create_connection();
  EXPECT_TRUE(connection->sync_present);
  EXPECT_EQ(slots.current_sync, sync.get());
  connect();
  peer.serve([](const Bytes&) { return answer(VL_C_GoBirdBath, 0); });
  EXPECT_EQ(told(sync->GoBirdBath()), "ok");
  peer.close();
}

TEST_F(CommandObjectsTest, AnObjectMadeAfterThePropertyWasReadTakesOverTheAnswers) {
  start();
  const auto sync = own_sync();
  EXPECT_EQ(slots.current_sync, sync.get());
  EXPECT_NE(slots.internal_sync, nullptr);
  outlive_the_suspicion();
}

TEST_F(CommandObjectsTest, AMissingObjectFollowsTheExceptionPolicy) {
  create_connection();
  connection->put_ExceptionHandlingPolicy(1);
  slots.release_internal_sync();
  Pointer<IUnknown> object;
  EXPECT_THROW(connection->get_ILTCommandSync(object.put()), _com_error);
}

TEST_F(CommandObjectsTest, AnObjectThatRefusesTheQueryPassesItsCodeOn) {
  create_connection();
  slots.release_internal_async();
  const auto real = own_async();
  StubCommands stub(*real);
  slots.internal_async = &stub;
  Pointer<IUnknown> object;
  EXPECT_EQ(told(connection->get_ILTCommandAsync(object.put())),
            "80004002 -1 Kestrine.LTConnect.1: QueryInterface() for ILTCommand<xxx> failed !");
  EXPECT_FALSE(object);
  slots.internal_async = nullptr;
  slots.current_async = nullptr;
  connection.reset();
  EXPECT_EQ(stub.stub.count, 1u);
  outlive_the_suspicion();
}

TEST_F(CommandObjectsTest, ObjectsNobodyFetchedGoWithTheConnectionAndWithoutAWord) {
  create_connection();
  connection.reset();
  EXPECT_EQ(slots.internal_sync, nullptr);
  EXPECT_EQ(slots.internal_async, nullptr);
  make(kBoth);
  commands.reset();
  async_commands.reset();
  sync_listener.reset();
  async_listener.reset();
  connection.reset();
  EXPECT_EQ(slots.current_sync, nullptr);
  EXPECT_EQ(slots.current_async, nullptr);
}

TEST_F(CommandObjectsTest, AnObjectThatGoesAtOnceAfterAFetchLooksLikeMixedGenerations) {
  make();
  own_sync().reset();
  EXPECT_EQ(environment.message_boxes.size(), 1u);
  own_async().reset();
  EXPECT_EQ(environment.message_boxes.size(), 2u);
  {
    const auto patient = own_async();
    outlive_the_suspicion();
  }
  EXPECT_EQ(environment.message_boxes.size(), 2u);
  environment.message_boxes.clear();
}

TEST_F(CommandObjectsTest, TheOtherGenerationMakesEachOfItsObjectsComplain) {
  create_connection();
  EXPECT_EQ(process.claimed_generation, 1);
  transport::Identity second = slots.identity;
  second.generation = 2;
  component::Generation other(second, process);
  const auto late = Pointer<component::CLTConnect>::adopt(new component::CLTConnect(other.slots));
  const std::u16string text = u"Illegal combination of old/legacy and new interfaces";
  EXPECT_EQ(environment.message_boxes, (std::vector{text, text})) << "one for each command object";
  EXPECT_NE(other.slots.internal_sync, nullptr) << "they are made all the same";
  environment.message_boxes.clear();
}

TEST_F(CommandObjectsTest, ASecondConnectionTakesOverTheSlotsAndTheFirstOnesPackets) {
  create_connection();
  const auto first = connection;
  const Pointer<IUnknown> firsts(slots.internal_sync->unknown());
  create_connection();
  EXPECT_EQ(slots.connection, connection.get());
  EXPECT_NE(slots.internal_sync->unknown(), firsts.get());
  firsts->AddRef();
  EXPECT_EQ(firsts->Release(), 1u) << "the object in whose place another has come is let go";

  EXPECT_EQ(told(first->ConnectEmbeddedSystem(Text("127.0.0.1"), peer.port())), "ok");
  peer.accept();
  for (int round = 1; round <= 2; ++round) {
    peer.send(status_change(round));
    EXPECT_TRUE(pump_until([&] { return get_i32(connection->last_status_change, 8) == round; }));
  }
  EXPECT_EQ(first->received_length, 0);
  EXPECT_EQ(first->last_result_status, VL_RS_Unknown);

  // The second connection goes first: what arrives now has nowhere to go.
  connection.reset();
  peer.send(status_change(3));
  EXPECT_EQ(told(first->DisconnectEmbeddedSystem()), "ok");
  EXPECT_TRUE(peer.client_leaves());
}

TEST_F(CommandObjectsTest, AFirstConnectionThatGoesDropsTheUnfetchedObjectsWhosesoeverTheyAre) {
  create_connection();
  create_connection();
  Pointer<IUnknown> object;
  EXPECT_EQ(told(connection->get_ILTCommandSync(object.put())), kNoObject);
}

TEST_F(CommandObjectsTest, AFirstConnectionThatGoesLeavesAFetchedSecondWorking) {
  create_connection();
  auto first = connection;
  start();
  first.reset();
  peer.serve([](const Bytes&) { return answer(VL_C_GoBirdBath, 0); });
  EXPECT_EQ(told(commands->GoBirdBath()), "ok");
  peer.close();
}

TEST_F(CommandObjectsTest, ConnectionsThatComeAndGoLeaveNoSinksBehind) {
  for (int i = 0; i < 20; ++i) create_connection();
  connection.reset();
  create_connection();
  EXPECT_LE(slots.sinks.size(), 2u);
  EXPECT_LE(slots.senders.size(), 2u);
}

}  // namespace
}  // namespace kestrine::test
