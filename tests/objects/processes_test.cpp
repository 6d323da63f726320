// Calls that come from where an object does not belong: another thread, and a forked child.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <initializer_list>
#include <optional>
#include <thread>

#include "environment.h"
#include "kestrine/events.h"
#include "kestrine/interfaces.h"
#include "kestrine/pointer.h"
#include "kestrine/text.h"
#include "kestrine/type_info.h"
#include "objects/module.h"
#include "platform/profile.h"
#include "scripted_peer.h"

namespace kestrine::test {
namespace {

struct Heard final : SyncEvents {
  void StatusChangeEvent(VL_SystemStatusChange) override { ++count; }
  int count = 0;
};

// A connection of the second generation, its objects, and a listener.
struct Client {
  template <class Interface>
  static Pointer<Interface> create(objects::Module& module, const CLSID& clsid) {
    Pointer<IClassFactory> factory;
    EXPECT_EQ(module.get_class_object(clsid, IID_IClassFactory, factory.put_void()), S_OK);
    Pointer<Interface> object;
    EXPECT_EQ(factory->CreateInstance(nullptr, interface_id<Interface>(), object.put_void()), S_OK);
    return object;
  }

  Client(objects::Module& module, std::uint16_t port) : connection(create<ILTConnect2>(module, CLSID_LTConnect2)) {
    EXPECT_EQ(connection->ConnectEmbeddedSystem(Text("127.0.0.1"), port), S_OK);
    Pointer<IUnknown> object;
    EXPECT_EQ(connection->get_ILTCommandSync(object.put()), S_OK);
    commands = object.query<ILTCommandSync2>();
    container = object.query<IConnectionPointContainer>();
    EXPECT_EQ(container->FindConnectionPoint(DIID__ILTCommandSync2Events, point.put()), S_OK);
    EXPECT_EQ(point->Advise(heard.get(), &cookie), S_OK);
    EXPECT_EQ(container->EnumConnectionPoints(points.put()), S_OK);
    EXPECT_EQ(point->EnumConnections(sinks.put()), S_OK);
    EXPECT_EQ(connection->get_ILTCommandAsync(object.put()), S_OK);
    senders = object.query<ILTCommandAsync2>();
    info = commands.query<IProvideClassInfo2>();
    support = connection.query<ISupportErrorInfo>();
  }

  std::array<IUnknown*, 6> all() const {
    return {connection.get(), commands.get(), senders.get(), point.get(), points.get(), sinks.get()};
  }
  // How many calls were not refused as those of a foreign thread, one or more of every interface.
  int calls_taken() {
    int taken = 0;
    const auto refused = [&](std::initializer_list<HRESULT> results) {
      for (const HRESULT result : results) taken += result == RPC_E_WRONG_THREAD ? 0 : 1;
    };
    const auto refused_by_name = [&](IDispatch* object) {
      UINT count = 0;
      Pointer<ITypeInfo> type;
      OLECHAR name[] = u"Initialize";
      LPOLESTR names[] = {name};
      DISPID id = 1;
      DISPPARAMS none{};
      refused({object->GetTypeInfoCount(&count), object->GetTypeInfo(0, LOCALE_USER_DEFAULT, type.put()),
               object->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id),
               object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr)});
    };
    for (IUnknown* object : all()) {
      void* found = this;
      refused({object->QueryInterface(IID_IUnknown, &found)});
      taken += found == nullptr ? 0 : 1;
    }
    VARIANT data{};
    Pointer<IConnectionPoint> one;
    Pointer<IEnumConnectionPoints> some;
    Pointer<IEnumConnections> others;
    Pointer<IConnectionPointContainer> back;
    Pointer<ITypeInfo> type;
    IID iid{};
    CONNECTDATA sink{};
    ULONG count = 0;
    refused_by_name(connection.get());
    refused_by_name(commands.get());
    refused({connection->ConnectEmbeddedSystem(nullptr, 0), connection->DisconnectEmbeddedSystem(),
             connection->GetData(&data), commands->Initialize(), senders->Initialize()});
    refused({info->GetClassInfo(type.put()), info->GetGUID(1, &iid), support->InterfaceSupportsErrorInfo(iid)});
    refused({container->FindConnectionPoint(DIID__ILTCommandSync2Events, one.put()),
             container->EnumConnectionPoints(some.put())});
    refused({point->Advise(heard.get(), &count), point->Unadvise(cookie), point->EnumConnections(others.put()),
             point->GetConnectionInterface(&iid), point->GetConnectionPointContainer(back.put())});
    refused({points->Next(1, one.put(), &count), points->Skip(1), points->Reset(), points->Clone(some.put()),
             sinks->Next(1, &sink, &count)});
    return taken;
  }

  // Drops every reference there is.
  void let_go() {
    for (int i = 0; i < 4; ++i) {
      for (IUnknown* each : all()) each->Release();
    }
  }

  Pointer<Heard> heard = Pointer<Heard>::adopt(new Heard);
  Pointer<ILTConnect2> connection;
  Pointer<ILTCommandSync2> commands;
  Pointer<ILTCommandAsync2> senders;
  Pointer<IConnectionPointContainer> container;
  Pointer<IConnectionPoint> point;
  Pointer<IEnumConnectionPoints> points;
  Pointer<IEnumConnections> sinks;
  Pointer<ISupportErrorInfo> support;
  Pointer<IProvideClassInfo2> info;
  DWORD cookie = 0;
};

class Processes : public testing::TestWithParam<host::Behaviour> {
 protected:
  Processes() {
    environment.set(u"NonblockingConnect", 0);
    platform::write_profile_string(u"SyncCommandTimeouts", u"TrackerInitWaitTime", u"4000", u"Kestrine.ini");
    client.emplace(module, peer.port());
    peer.accept();
  }

  void expect_that_the_link_hears() {
    const int before = client->heard->count;
    peer.send(status_change(VL_SSC_LaserWarmedUp));
    EXPECT_TRUE(pump_until([&] { return client->heard->count > before; }));
  }

  Environment environment;
  ScriptedPeer peer;
  objects::Module module{connection::rules_of(GetParam())};
  std::optional<Client> client;
};

INSTANTIATE_TEST_SUITE_P(Both, Processes, testing::Values(host::Behaviour::kClassic, host::Behaviour::kModern));

TEST_P(Processes, AForeignThreadIsRefusedByEveryInterface) {
  int taken = -1;
  std::thread([&] {
    taken = client->calls_taken();
    client->let_go();
  }).join();
  EXPECT_EQ(taken, 0);
  expect_that_the_link_hears();
}

TEST_P(Processes, AChildThatEndsLeavesTheLinkAlone) {
  const pid_t child = ::fork();
  if (child == 0) {
    client->let_go();
    std::exit(0);
  }
  int status = -1;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  expect_that_the_link_hears();
}

TEST_P(Processes, AChildHasNoPartInTheLinkOfItsParentButCanMakeItsOwn) {
  ScriptedPeer other;
  int stay[2];
  ASSERT_EQ(::pipe(stay), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    ::close(stay[1]);
    const int taken = client->calls_taken();
    if (taken != 0) ::_exit(taken);
    client->let_go();
    host::run_for(std::chrono::milliseconds(1));  // what comes for the parent is not for it
    // Not fetched from the connection, as the parent's are.
    const auto own = Client::create<ILTConnect2>(module, CLSID_LTConnect2);
    const HRESULT connected = own->ConnectEmbeddedSystem(Text("127.0.0.1"), other.port());
    const auto commands = Client::create<ILTCommandSync2>(module, CLSID_LTCommandSync2);
    if (connected != S_OK || commands->Initialize() != S_OK) ::_exit(100);
    char end;
    ::_exit(::read(stay[0], &end, 1) == 0 ? 0 : 101);
  }
  ::close(stay[0]);
  other.accept();
  other.serve([](const Bytes& request) { return answer(get_i32(request, 8), 0); });
  EXPECT_TRUE(pump_until([&] { return !other.requests().empty(); }));
  expect_that_the_link_hears();
  EXPECT_EQ(client->connection->DisconnectEmbeddedSystem(), S_OK);
  EXPECT_TRUE(peer.client_leaves()) << "while the child is still there";
  ::close(stay[1]);
  int status = -1;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace kestrine::test
