#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "commands/typed_methods.h"
#include "kestrine/events.h"
#include "kestrine/pointer.h"

namespace kestrine {
namespace {

class Listener : public SyncEvents {
 public:
  void ReflectorsData(std::int32_t id, BSTR name, VL_TargetType type, double offset, std::int32_t total) override {
    heard.push_back(std::to_string(id) + " " + std::to_string(name == nullptr ? -1 : name[0]) + " " +
                    std::to_string(type) + " " + std::to_string(offset) + " " + std::to_string(total));
  }
  void StationaryPointMeasData(double val1, double, double, double, double, double, double, double, double, double,
                               double, double, double, double, double, double, double, VARIANT_BOOL try_mode) override {
    heard.push_back(std::to_string(val1) + " " + std::to_string(try_mode));
  }

  std::vector<std::string> heard;
};

struct Call {
  std::vector<VARIANT> arguments;  // the last one first
  UINT bad_argument = 99;

  HRESULT on(SyncEvents& sink, DISPID member) {
    DISPPARAMS block{arguments.data(), nullptr, static_cast<UINT>(arguments.size()), 0};
    return sink.Invoke(member, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &block, nullptr, nullptr, &bad_argument);
  }
};

VARIANT number(std::int32_t value) {
  VARIANT variant{};
  variant.vt = VT_I4;
  variant.lVal = value;
  return variant;
}

VARIANT real(double value) {
  VARIANT variant{};
  variant.vt = VT_R8;
  variant.dblVal = value;
  return variant;
}

VARIANT text(BSTR value) {
  VARIANT variant{};
  variant.vt = VT_BSTR;
  variant.bstrVal = value;
  return variant;
}

class Sinks : public testing::Test {
 protected:
  Pointer<Listener> sink = Pointer<Listener>::adopt(new Listener);
  char16_t name[2] = {u'R', 0};
};

TEST_F(Sinks, TakeAnEventsArgumentsLastOneFirst) {
  Call call{{number(3), real(0.5), number(VL_TT_CatsEye), text(name), number(7)}};
  EXPECT_EQ(call.on(*sink, 2), S_OK);
  EXPECT_EQ(sink->heard, std::vector<std::string>{"7 82 2 0.500000 3"});
}

TEST_F(Sinks, HandFlagsOnAsTheyCome) {
  Call call{std::vector<VARIANT>(18, real(1.5))};
  call.arguments[0] = VARIANT{};
  call.arguments[0].vt = VT_BOOL;
  call.arguments[0].boolVal = 1;
  EXPECT_EQ(call.on(*sink, 22), S_OK);
  EXPECT_EQ(sink->heard, std::vector<std::string>{"1.500000 1"});
}

TEST_F(Sinks, RefuseWhatTheEventDoesNotHave) {
  Call call{{number(3), real(0.5), number(2), text(name), number(7)}};
  EXPECT_EQ(call.on(*sink, 25), DISP_E_MEMBERNOTFOUND);
  EXPECT_EQ(call.on(*sink, 0), DISP_E_MEMBERNOTFOUND);
  call.arguments[3] = number(1);
  EXPECT_EQ(call.on(*sink, 2), DISP_E_TYPEMISMATCH);
  EXPECT_EQ(call.bad_argument, 3u);
  call.arguments.pop_back();
  EXPECT_EQ(call.on(*sink, 2), DISP_E_BADPARAMCOUNT);
  EXPECT_EQ(sink->Invoke(2, IID_NULL, 0, DISPATCH_METHOD, nullptr, nullptr, nullptr, nullptr), DISP_E_BADPARAMCOUNT);
  EXPECT_EQ(sink->Invoke(2, IID_IUnknown, 0, DISPATCH_METHOD, nullptr, nullptr, nullptr, nullptr),
            DISP_E_UNKNOWNINTERFACE);
  EXPECT_TRUE(sink->heard.empty());
}

TEST_F(Sinks, IgnoreEventsThatNobodyOverrides) {
  Call call{{number(998)}};
  EXPECT_EQ(call.on(*sink, 7), S_OK);
}

TEST_F(Sinks, KnowTheirEventsByName) {
  const auto find = [this](std::u16string wanted) {
    LPOLESTR names[] = {wanted.data(), wanted.data()};
    DISPID ids[2] = {};
    EXPECT_EQ(sink->GetIDsOfNames(IID_NULL, names, 2, 0, ids), DISP_E_UNKNOWNNAME);
    EXPECT_EQ(ids[1], DISPID_UNKNOWN);
    const HRESULT result = sink->GetIDsOfNames(IID_NULL, names, 1, 0, ids);
    EXPECT_EQ(result, ids[0] == DISPID_UNKNOWN ? DISP_E_UNKNOWNNAME : S_OK);
    return ids[0];
  };
  EXPECT_EQ(find(u"ErrorEvent"), 1);
  EXPECT_EQ(find(u"stationaryprobemeasdata"), 24);
  EXPECT_EQ(find(u"ErrorEven"), DISPID_UNKNOWN);
  EXPECT_EQ(find(u"CommandCompletedData"), DISPID_UNKNOWN);
}

TEST_F(Sinks, AnswerToTheEventInterfacesOfBothGenerations) {
  for (const IID& iid : {IID_IUnknown, IID_IDispatch, DIID__ILTCommandSyncEvents, DIID__ILTCommandSync2Events}) {
    Pointer<IDispatch> found;
    EXPECT_EQ(sink->QueryInterface(iid, found.put_void()), S_OK);
    EXPECT_EQ(found.get(), sink.get());
  }
  void* other = nullptr;
  EXPECT_EQ(sink->QueryInterface(DIID__ILTCommandAsyncEvents, &other), E_NOINTERFACE);
  UINT count = 9;
  EXPECT_EQ(sink->GetTypeInfoCount(&count), S_OK);
  EXPECT_EQ(count, 0u);
}

class Recorder final : public commands::TypedSyncMethods<ILTCommandSync> {
 public:
  HRESULT QueryInterface(const IID&, void**) override { return E_NOINTERFACE; }
  ULONG AddRef() override { return 1; }
  ULONG Release() override { return 1; }
  HRESULT call(int dispid, commands::Argument* arguments) override {
    called = dispid;
    gave_nothing = arguments == nullptr;
    if (look) look(arguments);
    return S_FALSE;
  }

  int called = 0;
  bool gave_nothing = false;
  void (*look)(const commands::Argument*) = nullptr;
};

TEST(TypedMethods, PackTheirParametersInOrder) {
  Recorder recorder;
  recorder.look = [](const commands::Argument* arguments) {
    EXPECT_EQ(arguments[0].f64, 1.0);
    EXPECT_EQ(arguments[2].f64, 3.0);
    EXPECT_EQ(arguments[3].i32, -1);
  };
  EXPECT_EQ(recorder.GoPosition(1, 2, 3, VARIANT_TRUE), S_FALSE);
  EXPECT_EQ(recorder.called, 9);
  recorder.look = [](const commands::Argument* arguments) {
    EXPECT_EQ(arguments[0].i32, VL_SP_QuickReleaseStatus);
    *static_cast<std::int32_t*>(arguments[1].out) = -1;
  };
  std::int32_t status = 0;
  recorder.GetLongSystemParameter(VL_SP_QuickReleaseStatus, &status);
  EXPECT_EQ(status, -1);
  recorder.look = [](const commands::Argument* arguments) {
    EXPECT_EQ(static_cast<const SearchParamsDataT*>(arguments[0].record)->lTimeOut, 5);
  };
  SearchParamsDataT search;
  search.lTimeOut = 5;
  recorder.SetSearchParamsEx(search);
  EXPECT_EQ(recorder.called, 39);
}

TEST(TypedMethods, PassNothingWhereThereAreNoParameters) {
  Recorder recorder;
  recorder.SystemPowerDown();
  EXPECT_EQ(recorder.called, 201);
  EXPECT_TRUE(recorder.gave_nothing);
}

}  // namespace
}  // namespace kestrine
