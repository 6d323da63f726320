#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kestrine/events.h"
#include "kestrine/pointer.h"

namespace kestrine {
namespace {

class Listener : public SyncEvents {
 public:
  void ReflectorsData(std::int32_t id, BSTR name, VL_TargetType type, double offset, std::int32_t total) override {
    heard += std::to_string(id) + " " + std::to_string(name == nullptr ? -1 : name[0]) + " " + std::to_string(type) +
             " " + std::to_string(offset) + " " + std::to_string(total) + "\n";
  }
  void StationaryPointMeasData(double val1, double, double, double, double, double, double, double, double, double,
                               double, double, double, double, double, double, double, VARIANT_BOOL try_mode) override {
    heard += std::to_string(val1) + " " + std::to_string(try_mode) + "\n";
  }

  std::string heard;
};

template <class Member>
VARIANT variant(VARTYPE type, Member VARIANT::*member, Member value) {
  VARIANT made{};
  made.vt = type;
  made.*member = value;
  return made;
}

VARIANT number(std::int32_t value) {
  return variant(VT_I4, &VARIANT::lVal, value);
}

class Sinks : public testing::Test {
 protected:
  // The last argument first.
  HRESULT fire(DISPID member, std::vector<VARIANT> arguments) {
    DISPPARAMS block{arguments.data(), nullptr, static_cast<UINT>(arguments.size()), 0};
    return sink->Invoke(member, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &block, nullptr, nullptr,
                        &bad_argument);
  }

  Pointer<Listener> sink = Pointer<Listener>::adopt(new Listener);
  UINT bad_argument = 99;
  char16_t name[2] = {u'R', 0};
  VARIANT text = variant(VT_BSTR, &VARIANT::bstrVal, BSTR{name});
  VARIANT real = variant(VT_R8, &VARIANT::dblVal, 0.5);
};

TEST_F(Sinks, TakeAnEventsArgumentsLastOneFirstAndFlagsAsTheyCome) {
  EXPECT_EQ(fire(2, {number(3), real, number(VL_TT_CatsEye), text, number(7)}), S_OK);
  std::vector<VARIANT> values(18, real);
  values[0] = variant(VT_BOOL, &VARIANT::boolVal, VARIANT_BOOL{1});
  EXPECT_EQ(fire(22, values), S_OK);
  EXPECT_EQ(fire(7, {number(998)}), S_OK) << "nobody overrides it";
  EXPECT_EQ(sink->heard, "7 82 2 0.500000 3\n0.500000 1\n");
}

TEST_F(Sinks, RefuseWhatTheEventDoesNotHave) {
  for (const DISPID member : {0, 25}) EXPECT_EQ(fire(member, {number(1)}), DISP_E_MEMBERNOTFOUND);
  EXPECT_EQ(fire(2, {number(3), real, number(2), number(1), number(7)}), DISP_E_TYPEMISMATCH);
  EXPECT_EQ(bad_argument, 3u);
  EXPECT_EQ(fire(2, {number(3), real, number(2), text}), DISP_E_BADPARAMCOUNT);
  const auto fire_nothing = [this](const IID& reserved) {
    return sink->Invoke(2, reserved, 0, DISPATCH_METHOD, nullptr, nullptr, nullptr, nullptr);
  };
  EXPECT_EQ(fire_nothing(IID_NULL), DISP_E_BADPARAMCOUNT);
  EXPECT_EQ(fire_nothing(IID_IUnknown), DISP_E_UNKNOWNINTERFACE);
  EXPECT_EQ(sink->heard, "");
}

TEST_F(Sinks, KnowTheirEventsByName) {
  const auto find = [this](std::u16string wanted) {
    LPOLESTR asked = wanted.data();
    DISPID id = 0;
    const HRESULT result = sink->GetIDsOfNames(IID_NULL, &asked, 1, 0, &id);
    EXPECT_EQ(result, id == DISPID_UNKNOWN ? DISP_E_UNKNOWNNAME : S_OK);
    return id;
  };
  EXPECT_EQ(find(u"ErrorEvent"), 1);
  EXPECT_EQ(find(u"stationaryprobemeasdata"), 24);
  EXPECT_EQ(find(u"ErrorEven"), DISPID_UNKNOWN);
}

TEST_F(Sinks, AnswerToTheEventInterfacesOfBothGenerations) {
  for (const IID& iid : {IID_IUnknown, IID_IDispatch, DIID__ILTCommandSyncEvents, DIID__ILTCommandSync2Events}) {
    Pointer<IDispatch> found;
    EXPECT_EQ(sink->QueryInterface(iid, found.put_void()), S_OK);
    EXPECT_EQ(found.get(), sink.get());
  }
  void* other = nullptr;
  EXPECT_EQ(sink->QueryInterface(DIID__ILTCommandAsyncEvents, &other), E_NOINTERFACE);
}

}  // namespace
}  // namespace kestrine
