// The library loaded, used, unloaded and loaded again, for which this program is not linked with it.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <barrier>
#include <thread>

#include "environment.h"
#include "kestrine/error.h"
#include "kestrine/events.h"
#include "kestrine/host.h"
#include "kestrine/interfaces.h"
#include "kestrine/pointer.h"
#include "kestrine/text.h"
#include "kestrine/type_info.h"
#include "platform/test_clock.h"
#include "scripted_peer.h"

namespace kestrine::test {
namespace {

class Unload : public testing::Test {
 protected:
  Unload() {
    environment.set(u"NonblockingConnect", 0);
    load();
  }
  ~Unload() override { SetErrorInfo(0, nullptr); }

  void load() {
    library = ::dlopen(KESTRINE_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << ::dlerror();
  }
  template <class Function>
  Function* entry(const char* name) const {
    return reinterpret_cast<Function*>(::dlsym(library, name));
  }
  bool can_unload() const { return entry<HRESULT()>("DllCanUnloadNow")() == S_OK; }
  // Leaves no code behind, on no loop either.
  void unload() {
    ASSERT_TRUE(can_unload());
    ASSERT_NE(text_of("/proc/self/maps").find("libkestrine.so"), std::string::npos);
    ASSERT_EQ(::dlclose(library), 0);
    ASSERT_EQ(text_of("/proc/self/maps").find("libkestrine.so"), std::string::npos);
    pump();
  }
  // Long enough for every timer of a call to go off.
  static void pump() {
    host::dispatch();
    platform::advance_clock(std::chrono::hours(1));
    host::dispatch();
  }

  Pointer<IClassFactory> class_object(const CLSID& clsid) const {
    Pointer<IClassFactory> factory;
    const auto get = entry<HRESULT(const CLSID&, const IID&, void**)>("DllGetClassObject");
    EXPECT_EQ(get(clsid, IID_IClassFactory, factory.put_void()), S_OK);
    return factory;
  }
  template <class Interface>
  Pointer<Interface> create(const CLSID& clsid) const {
    Pointer<Interface> object;
    EXPECT_EQ(class_object(clsid)->CreateInstance(nullptr, interface_id<Interface>(), object.put_void()), S_OK);
    return object;
  }
  // Everything that puts something on the loop: a socket, a timer that runs on after its call, and a flush.
  void use() {
    ScriptedPeer peer;
    const auto connection = create<ILTConnect2>(CLSID_LTConnect2);
    ASSERT_EQ(connection->ConnectEmbeddedSystem(Text("127.0.0.1"), peer.port()), S_OK);
    peer.accept();
    Pointer<IUnknown> object;
    ASSERT_EQ(connection->get_ILTCommandSync(object.put()), S_OK);
    const auto sync = object.query<ILTCommandSync2>();
    peer.send(answer(VL_C_Park, VL_RS_TrackerNotInitialized, VL_DT_Error));
    EXPECT_EQ(sync->Park(), E_FAIL);
    peer.send(status_change(26));
  }

  // A sink that an object lets go of at its own end.
  class Watcher final : public SyncEvents {
   public:
    explicit Watcher(const Unload& test) : test_(test) {}

   private:
    ~Watcher() override { EXPECT_FALSE(test_.can_unload()); }

    const Unload& test_;
  };

  Environment environment;
  void* library = nullptr;
};

TEST_F(Unload, LeavesNothingOfTheLibraryBehindHoweverOftenItIsUsed) {
  use();
  unload();
  load();
  unload();
}

TEST_F(Unload, WaitsForWhateverCanStillCallIntoTheLibrary) {
  const auto drop = [&](auto& before_the_latest) {
    before_the_latest.reset();
    EXPECT_FALSE(can_unload());
  };
  Pointer<IConnectionPoint> point;
  Pointer<IEnumConnections> sinks;
  ULONG cookie = 0;
  class_object(CLSID_LTConnect)->LockServer(0);  // there is no lock
  auto sync = create<ILTCommandSync2>(CLSID_LTCommandSync2);
  ASSERT_EQ(sync.query<IConnectionPointContainer>()->FindConnectionPoint(DIID__ILTCommandSync2Events, point.put()),
            S_OK);
  ASSERT_EQ(point->Advise(Pointer<IDispatch>::adopt(new Watcher(*this)).get(), &cookie), S_OK);
  drop(sync);
  ASSERT_EQ(point->EnumConnections(sinks.put()), S_OK);
  drop(point);
  sinks.reset();
  EXPECT_TRUE(can_unload());

  Pointer<ITypeInfo> info, units;
  Pointer<ITypeLib> types;
  Pointer<IRecordInfo> record;
  UINT index = 0;
  MEMBERID id = 0;
  USHORT count = 1;
  sync = create<ILTCommandSync2>(CLSID_LTCommandSync2);
  ASSERT_EQ(sync->GetTypeInfo(0, 0, info.put()), S_OK);
  drop(sync);
  ASSERT_EQ(info->GetContainingTypeLib(types.put(), &index), S_OK);
  drop(info);
  ASSERT_EQ(types->FindName(Text("SystemUnitsDataT"), 0, units.put(), &id, &count), S_OK);
  drop(types);
  ASSERT_EQ(GetRecordInfoFromTypeInfo(units.get(), record.put()), S_OK);
  drop(units);
  record.reset();
  unload();
}

TEST_F(Unload, HoldsForTheLoopsOfAllThreads) {
  std::barrier<> barrier(2);
  const auto change_turns = [&] { barrier.arrive_and_wait(); };
  std::thread other([&] {
    auto connection = create<ILTConnect>(CLSID_LTConnect);
    change_turns(), change_turns();
    connection.reset();
    change_turns(), change_turns();
    pump();
  });
  change_turns();
  EXPECT_FALSE(can_unload());
  change_turns(), change_turns();
  unload();
  change_turns();
  other.join();
}

}  // namespace
}  // namespace kestrine::test
