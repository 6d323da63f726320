// What can be listed: the sinks of a connection point, the points of a command object, and the class behind it.
#include "client_test.h"
#include "kestrine/type_info.h"

namespace kestrine::test {
namespace {

class Enumerators : public ClientTest {
 protected:
  Enumerators() {
    make(kAsync);
    container = Pointer<IUnknown>(async_commands.get()).query<IConnectionPointContainer>();
    EXPECT_EQ(container->FindConnectionPoint(DIID__ILTCommandAsyncEvents, point.put()), S_OK);
    point->Unadvise(1);  // the fixture's own listener
  }
  DWORD join() {
    DWORD cookie = 0;
    const auto sink = Pointer<Listener>::adopt(new Listener(DIID__ILTCommandAsyncEvents, "sink", lines));
    EXPECT_EQ(point->Advise(sink.get(), &cookie), S_OK);
    return cookie;
  }
  // The cookies of the next connections, as many as there are up to `count`.
  static std::vector<DWORD> next(IEnumConnections& connections, ULONG count, HRESULT expected) {
    CONNECTDATA found[8] = {};
    ULONG fetched = 99;
    EXPECT_EQ(connections.Next(count, found, &fetched), expected);
    std::vector<DWORD> cookies;
    for (ULONG i = 0; i < fetched; ++i) {
      cookies.push_back(found[i].dwCookie);
      found[i].pUnk->Release();
    }
    return cookies;
  }

  Lines lines;
  Pointer<IConnectionPointContainer> container;
  Pointer<IConnectionPoint> point;
};

using Cookies = std::vector<DWORD>;

TEST_F(Enumerators, ListTheSinksOfTheMomentAndHoldThem) {
  for (int i = 0; i < 3; ++i) join();
  EXPECT_EQ(point->Unadvise(2), S_OK);
  Pointer<IEnumConnections> connections;
  ASSERT_EQ(point->EnumConnections(connections.put()), S_OK);
  EXPECT_EQ(point->Unadvise(1), S_OK);
  join();
  EXPECT_EQ(next(*connections, 5, S_FALSE), (Cookies{1, 3})) << "as it was, the sinks alive";
  EXPECT_EQ(next(*connections, 1, S_FALSE), Cookies{});
  EXPECT_EQ(connections->Reset(), S_OK);
  EXPECT_EQ(next(*connections, 2, S_OK), (Cookies{1, 3}));
}

TEST_F(Enumerators, SkipAndCloneFromWhereTheyStand) {
  for (int i = 0; i < 3; ++i) join();
  Pointer<IEnumConnections> connections;
  Pointer<IEnumConnections> copy;
  ASSERT_EQ(point->EnumConnections(connections.put()), S_OK);
  EXPECT_EQ(connections->Skip(1), S_OK);
  ASSERT_EQ(connections->Clone(copy.put()), S_OK);
  EXPECT_EQ(next(*connections, 2, S_OK), (Cookies{2, 3}));
  EXPECT_EQ(connections->Skip(1), S_FALSE);
  connections.reset();
  EXPECT_EQ(next(*copy, 1, S_OK), Cookies{2});
  EXPECT_EQ(copy->Skip(0xFFFFFFFF), S_FALSE);
  EXPECT_EQ(next(*copy, 1, S_FALSE), Cookies{});
  CONNECTDATA two[2];
  EXPECT_EQ(copy->Next(2, two, nullptr), E_POINTER);
  EXPECT_EQ(copy->Clone(nullptr), E_POINTER);
}

TEST_F(Enumerators, ListTheOnlyPointOfACommandObject) {
  Pointer<IEnumConnectionPoints> points;
  ASSERT_EQ(container->EnumConnectionPoints(points.put()), S_OK);
  Pointer<IConnectionPoint> only;
  ASSERT_EQ(points->Next(1, only.put(), nullptr), S_OK);
  EXPECT_EQ(only.get(), point.get());
  EXPECT_EQ(points->Next(1, only.put(), nullptr), S_FALSE);
  EXPECT_EQ(container->EnumConnectionPoints(nullptr), E_POINTER);
}

TEST_F(Enumerators, AreJoinedByTheClassOfTheObject) {
  const auto asked = Pointer<IUnknown>(async_commands.get()).query<IProvideClassInfo2>();
  ASSERT_TRUE(asked);
  GUID events{};
  EXPECT_EQ(asked->GetGUID(GUIDKIND_DEFAULT_SOURCE_DISP_IID, &events), S_OK);
  EXPECT_EQ(events, DIID__ILTCommandAsyncEvents);
  EXPECT_EQ(asked->GetGUID(2, &events), E_INVALIDARG);
  Pointer<ITypeInfo> info;
  ASSERT_EQ(asked.query<IProvideClassInfo>()->GetClassInfo(info.put()), S_OK);
  TYPEATTR* attributes = nullptr;
  ASSERT_EQ(info->GetTypeAttr(&attributes), S_OK);
  EXPECT_EQ(attributes->guid, CLSID_LTCommandAsync);
  info->ReleaseTypeAttr(attributes);
  EXPECT_FALSE(Pointer<ILTConnect>(connection.get()).query<IProvideClassInfo>()) << "fires no events";
}

TEST(ClassInfo, LeadsFromTheEventsOfEveryCommandClassToTheClass) {
  const std::pair<IID, CLSID> rows[] = {{DIID__ILTCommandSyncEvents, CLSID_LTCommandSync},
                                        {DIID__ILTCommandSync2Events, CLSID_LTCommandSync2},
                                        {DIID__ILTCommandAsyncEvents, CLSID_LTCommandAsync},
                                        {DIID__ILTCommandAsync2Events, CLSID_LTCommandAsync2}};
  for (const auto& [events, id] : rows) EXPECT_EQ(*objects::class_with_events(events)->id, id);
  EXPECT_EQ(objects::class_with_events(IID_IDispatch), nullptr);
}

}  // namespace
}  // namespace kestrine::test
