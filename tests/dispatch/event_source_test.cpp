// Who hears an event, in which order, what sinks may do from inside their handlers, and how they are listed.
#include "dispatch/event_source.h"

#include "client_test.h"
#include "kestrine/type_info.h"
#include "protocol/event_numbers.h"

namespace kestrine::test {
namespace {

using Cookies = std::vector<DWORD>;

class EventSinks : public ClientTest {
 protected:
  EventSinks() {
    make(kAsync);
    point()->Unadvise(1);  // the fixture's own listener
  }
  dispatch::EventSource* point() { return &generation.objects().async()->event_source(); }
  Pointer<IConnectionPointContainer> container() { return async_commands.query<IConnectionPointContainer>(); }
  ULONG join(const std::string& name) {
    auto& listener = listeners[name];
    listener = Pointer<Listener>::adopt(new Listener(DIID__ILTCommandAsyncEvents, name, lines));
    ULONG cookie = 0;
    EXPECT_EQ(point()->Advise(listener.get(), &cookie), S_OK);
    return cookie;
  }
  // Who heard it, in order.
  Lines fire() {
    lines.clear();
    outcome = point()->fire(protocol::async_event::StatusChangeEvent, {VL_SSC_MeasurementModeChanged});
    Lines names;
    for (const std::string& line : lines) names.push_back(line.substr(0, line.find(' ')));
    return names;
  }

  // The cookies of the next connections, as many as there are up to `count`.
  static Cookies next(IEnumConnections& connections, ULONG count, HRESULT expected) {
    CONNECTDATA found[8] = {};
    ULONG fetched = 99;
    EXPECT_EQ(connections.Next(count, found, &fetched), expected);
    Cookies cookies;
    for (ULONG i = 0; i < fetched; ++i) {
      cookies.push_back(found[i].dwCookie);
      found[i].pUnk->Release();
    }
    return cookies;
  }

  Lines lines;
  std::map<std::string, Pointer<Listener>> listeners;
  HRESULT outcome = E_FAIL;
};

TEST_F(EventSinks, AreCalledInTheOrderOfSlotsWhichAreUsedAgain) {
  EXPECT_EQ(join("a"), 1u);
  EXPECT_EQ(join("b"), 2u);
  EXPECT_EQ(join("c"), 3u);
  EXPECT_EQ(point()->Unadvise(2), S_OK);
  EXPECT_EQ(point()->Unadvise(2), CONNECT_E_NOCONNECTION);
  EXPECT_EQ(fire(), (Lines{"a", "c"}));
  EXPECT_EQ(join("d"), 2u);
  EXPECT_EQ(fire(), (Lines{"a", "d", "c"}));
  for (const ULONG cookie : {0u, 4u, 0xFFFFFFFFu}) EXPECT_EQ(point()->Unadvise(cookie), CONNECT_E_NOCONNECTION);
}

TEST_F(EventSinks, ThatFailOrThrowKeepNothingFromTheOthers) {
  for (const char* name : {"a", "b", "c"}) join(name);
  listeners["a"]->handler = [](DISPID) { return E_FAIL; };
  listeners["b"]->handler = [](DISPID) -> HRESULT { throw 1; };
  EXPECT_EQ(fire(), (Lines{"a", "b", "c"}));
  EXPECT_EQ(outcome, S_OK);
  listeners["c"]->handler = [](DISPID) { return E_INVALIDARG; };
  fire();
  EXPECT_EQ(outcome, E_INVALIDARG);  // that of the last one called
}

// Takes every argument for its own.
class Greedy final : public Object<IDispatch> {
 public:
  HRESULT GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  HRESULT GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
  HRESULT Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS* arguments, VARIANT*, EXCEPINFO*, UINT*) override {
    for (UINT i = 0; i < arguments->cArgs; ++i) VariantClear(&arguments->rgvarg[i]);
    arguments->cArgs = 0;
    return S_OK;
  }

 private:
  void* find_interface(const IID& iid) override {
    return iid == DIID__ILTCommandAsyncEvents ? static_cast<IDispatch*>(this) : Object::find_interface(iid);
  }
};

TEST_F(EventSinks, ThatSpoilTheirArgumentsSpoilNobodyElses) {
  const auto greedy = Pointer<Greedy>::adopt(new Greedy);
  ULONG cookie = 0;
  ASSERT_EQ(point()->Advise(greedy.get(), &cookie), S_OK);
  join("a");
  for (int i = 0; i < 2; ++i) point()->fire(protocol::async_event::ExceptionEvent, {5, std::u16string_view(u"text")});
  EXPECT_EQ(lines, (Lines{"a ExceptionEvent 5 'text'", "a ExceptionEvent 5 'text'"}));
}

TEST_F(EventSinks, MayLeaveFromInsideAHandler) {
  const ULONG a = join("a");
  const ULONG b = join("b");
  join("c");
  listeners["a"]->handler = [&](DISPID) {
    listeners["a"]->handler = {};
    EXPECT_EQ(point()->Unadvise(a), S_OK);
    return point()->Unadvise(b);
  };
  EXPECT_EQ(fire(), (Lines{"a", "c"}));
  EXPECT_EQ(fire(), Lines{"c"});
}

TEST_F(EventSinks, ThatJoinFromInsideAHandlerHearTheEventOnlyInASlotStillAhead) {
  join("a");
  const ULONG b = join("b");
  point()->Unadvise(b);
  listeners["a"]->handler = [&](DISPID) {
    listeners["a"]->handler = {};
    join("ahead"), join("behind");
    return S_OK;
  };
  EXPECT_EQ(fire(), (Lines{"a", "ahead"}));
  EXPECT_EQ(fire(), (Lines{"a", "ahead", "behind"}));
}

TEST_F(EventSinks, MayDropTheLastReferenceToTheirSource) {
  join("a");
  join("b");
  listeners["a"]->handler = [&](DISPID) {
    async_commands.reset(), connection.reset();
    return S_OK;
  };
  EXPECT_EQ(fire(), (Lines{"a", "b"}));
  EXPECT_EQ(generation.objects().async(), nullptr);
}

TEST_F(EventSinks, MustAnswerToTheEventInterface) {
  auto stranger = Pointer<Listener>::adopt(new Listener(DIID__ILTCommandSyncEvents, "stranger", lines));
  ULONG cookie = 9;
  EXPECT_EQ(point()->Advise(stranger.get(), &cookie), CONNECT_E_CANNOTCONNECT);
  EXPECT_EQ(cookie, 0u);
  EXPECT_EQ(point()->Advise(nullptr, &cookie), E_POINTER);
  EXPECT_EQ(point()->Advise(stranger.get(), nullptr), E_POINTER);
  Pointer<IConnectionPoint> other;
  EXPECT_EQ(container()->FindConnectionPoint(DIID__ILTCommandSyncEvents, other.put()), CONNECT_E_NOCONNECTION);
}

TEST_F(EventSinks, AreListedAsTheyWereAtTheMomentAndHeld) {
  for (const char* name : {"a", "b", "c"}) join(name);
  listeners.clear();  // only the point holds them
  EXPECT_EQ(point()->Unadvise(2), S_OK);
  Pointer<IEnumConnections> connections;
  ASSERT_EQ(point()->EnumConnections(connections.put()), S_OK);
  EXPECT_EQ(point()->Unadvise(1), S_OK);
  join("d");
  EXPECT_EQ(next(*connections, 5, S_FALSE), (Cookies{1, 3})) << "as it was, the sinks alive";
  EXPECT_EQ(next(*connections, 1, S_FALSE), Cookies{});
  EXPECT_EQ(connections->Reset(), S_OK);
  EXPECT_EQ(connections->Skip(1), S_OK);
  Pointer<IEnumConnections> copy;
  ASSERT_EQ(connections->Clone(copy.put()), S_OK);
  connections.reset();
  EXPECT_EQ(next(*copy, 1, S_OK), Cookies{3}) << "from where the first one stood";
  EXPECT_EQ(copy->Skip(1), S_FALSE);
}

TEST_F(EventSinks, HaveOnePointToJoin) {
  Pointer<IEnumConnectionPoints> points;
  ASSERT_EQ(container()->EnumConnectionPoints(points.put()), S_OK);
  Pointer<IConnectionPoint> only;
  ASSERT_EQ(points->Next(1, only.put(), nullptr), S_OK);
  EXPECT_EQ(only.get(), point());
  EXPECT_EQ(points->Next(1, only.put(), nullptr), S_FALSE);
}

TEST_F(EventSinks, LearnTheClassOfTheObject) {
  const auto asked = async_commands.query<IProvideClassInfo2>();
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

}  // namespace
}  // namespace kestrine::test
