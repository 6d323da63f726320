// Calls by name, against a scripted server.
#include <climits>
#include <cmath>
#include <limits>

#include "kestrine/records.h"
#include "kestrine/type_info.h"
#include "late_client.h"

namespace kestrine::test {
namespace {

class Dispatch : public LateClient {};

Bytes units_answer(const Bytes& request) {
  if (get_i32(request, 8) != VL_C_GetUnits) return answer(get_i32(request, 8), VL_RS_AllOK);
  Bytes units = answer(VL_C_GetUnits, VL_RS_AllOK);
  units.resize(36);
  put_i32(units, 0, 36);
  for (std::int32_t i = 0; i < 5; ++i) put_i32(units, static_cast<std::size_t>(16 + 4 * i), i + 1);
  return units;
}

TEST_F(Dispatch, FindsMembersAndParametersWhateverTheCaseOfTheirNames) {
  EXPECT_EQ(ids(*connection, {u"CONNECTembeddedsystem", u"PORT", u"Address"}), (std::vector<DISPID>{4, 1, 0}));
  EXPECT_EQ(ids(*connection, {u"GetConstant", u"nothing", u"value"}, DISP_E_UNKNOWNNAME),
            (std::vector<DISPID>{15, DISPID_UNKNOWN, 1}));
  EXPECT_EQ(ids(*connection, {u"Nothing"}, DISP_E_UNKNOWNNAME), std::vector<DISPID>{DISPID_UNKNOWN});
  ITypeInfo* info = nullptr;
  EXPECT_EQ(connection->GetTypeInfo(1, 0, &info), DISP_E_BADINDEX);
}

TEST_F(Dispatch, ReadsAndWritesPropertiesAndCallsMethodsEachInItsOwnWay) {
  const auto sync = commands(u"ILTCommandSync", {});
  const DISPID version = ids(*connection, {u"Version"})[0];
  const DISPID policy = ids(*connection, {u"ExceptionHandlingPolicy"})[0];
  const DISPID initialize = ids(*sync, {u"Initialize"})[0];
  Value result, yes(true);
  EXPECT_EQ(call(*connection, version, DISPATCH_PROPERTYGET | DISPATCH_METHOD, {}, {}, &*result).code, S_OK);
  EXPECT_TRUE(result->vt == VT_I4 && result->lVal == 196'616);
  Pointer<ITypeInfo> info;
  DISPPARAMS none{};
  ASSERT_EQ(connection->GetTypeInfo(0, 0, info.put()), S_OK);
  EXPECT_EQ(info->Invoke(connection.get(), 99, DISPATCH_METHOD, &none, &*result, nullptr, nullptr),
            DISP_E_MEMBERNOTFOUND);
  const struct {
    IDispatch& object;
    DISPID id;
    WORD flags;
    std::vector<VARIANT> arguments;
    std::vector<DISPID> named;
    HRESULT code;
  } rows[] = {{*connection, policy, DISPATCH_PROPERTYPUT, {*yes}, {DISPID_PROPERTYPUT}, S_OK},
              {*connection, policy, DISPATCH_PROPERTYGET, {}, {}, DISP_E_MEMBERNOTFOUND},
              {*connection, version, DISPATCH_PROPERTYPUT, {*yes}, {DISPID_PROPERTYPUT}, DISP_E_MEMBERNOTFOUND},
              {*connection, version, DISPATCH_PROPERTYGET, {*yes}, {}, DISP_E_BADPARAMCOUNT},
              {*sync, initialize, DISPATCH_PROPERTYGET, {}, {}, DISP_E_MEMBERNOTFOUND},
              {*sync, 202, DISPATCH_METHOD, {}, {}, DISP_E_MEMBERNOTFOUND}};
  for (const auto& row : rows) {
    EXPECT_EQ(call(row.object, row.id, row.flags, row.arguments, row.named, &*result).code, row.code) << row.id;
  }
  EXPECT_TRUE(peer.nothing_to_receive());
}

TEST_F(Dispatch, ConvertsArgumentsAndTakesThemByPlaceOrByName) {
  const auto async = commands(u"ILTCommandAsync", {});
  const auto sent = [&] {
    const Bytes request = peer.receive_request();
    double values[3];
    std::memcpy(values, request.data() + 12, sizeof values);
    return std::vector<double>{values[0], values[1], values[2], static_cast<double>(get_i32(request, 36))};
  };
  const std::vector<double> expected{1, 2.5, -3, 1};
  Value one(1), text(u"2.5"), number(-3.0), yes(true), flag(7);
  EXPECT_EQ(call(*async, u"GoPosition", {*one, *text, *number, *yes}).code, S_OK);
  EXPECT_EQ(sent(), expected);
  EXPECT_EQ(call(*async, u"goposition", {Value::to(one), *text, *number, *flag}).code, S_OK);
  EXPECT_EQ(sent(), expected);
  const auto named = ids(*async, {u"GoPosition", u"useADM", u"val3", u"val2"});
  EXPECT_EQ(call(*async, named[0], DISPATCH_METHOD, {*one, *flag, *number, *text}, {named[1], named[2], named[3]}).code,
            S_OK);
  EXPECT_EQ(sent(), expected);
}

TEST_F(Dispatch, TellsWhichArgumentDoesNotFitAndSendsNothing) {
  const auto async = commands(u"ILTCommandAsync", {});
  Value one(1), word(u"far"), huge(1e20), nothing;
  nothing->vt = VT_ERROR;
  nothing->scode = DISP_E_PARAMNOTFOUND;
  const DISPID go = ids(*async, {u"GoPosition"})[0];
  const DISPID move = ids(*async, {u"MoveHV"})[0];
  struct Case {
    DISPID id;
    std::vector<VARIANT> arguments;
    std::vector<DISPID> named;
    HRESULT code;
    UINT bad;  // counted from the last argument
  };
  for (const Case& each : {Case{go, {*one, *one, *one}, {}, DISP_E_BADPARAMCOUNT, 99},
                           {go, {*one, *word, *one, *one}, {}, DISP_E_TYPEMISMATCH, 2},
                           {move, {*huge, *one}, {}, DISP_E_OVERFLOW, 1},
                           {go, {*one, *one, *one, *nothing}, {}, DISP_E_PARAMNOTOPTIONAL, 0},
                           {go, {*one, *one, *one}, {2}, DISP_E_PARAMNOTOPTIONAL, 99},
                           {go, {*one, *one, *one, *one}, {1}, DISP_E_PARAMNOTFOUND, 0},
                           {go, {*one, *one, *one, *one}, {4}, DISP_E_PARAMNOTFOUND, 0}}) {
    const Called called = call(*async, each.id, DISPATCH_METHOD, each.arguments, each.named);
    EXPECT_EQ(called.code, each.code);
    EXPECT_EQ(called.bad, each.bad);
  }
  EXPECT_TRUE(peer.nothing_to_receive());
}

TEST_F(Dispatch, HandsOutputsToReferencesOfTheirTypeOrToVariants) {
  const auto sync = commands(u"ILTCommandSync", units_answer);
  LONG length = 0;
  Value angle(u"replaced"), temperature, pressure, humidity;
  EXPECT_EQ(call(*sync, u"GetUnits",
                 {Value::to(VT_I4, length), Value::to(angle), Value::to(temperature), Value::to(pressure),
                  Value::to(humidity)})
                .code,
            S_OK);
  EXPECT_EQ(length, 1);
  EXPECT_EQ(angle->vt, VT_I4);
  EXPECT_EQ(angle->lVal, 2);
  EXPECT_EQ(humidity->lVal, 5);
  DOUBLE wrong = 0;
  const Called called = call(
      *sync, u"GetUnits",
      {Value::to(VT_R8, wrong), Value::to(angle), Value::to(temperature), Value::to(pressure), Value::to(humidity)});
  EXPECT_EQ(called.code, DISP_E_TYPEMISMATCH);
  EXPECT_EQ(called.bad, 4u);
  EXPECT_EQ(peer.requests().size(), 1u);
}

TEST_F(Dispatch, MovesRecordsBothWays) {
  const auto sync = commands(u"ILTCommandSync", units_answer);
  Value units;
  ASSERT_EQ(call(*sync, u"GetUnitsEx", {Value::to(units)}).code, S_OK);
  ASSERT_EQ(units->vt, VT_RECORD);
  auto* record = static_cast<SystemUnitsDataT*>(units->record.pvRecord);
  EXPECT_EQ(record->pressUnitType, 4);
  record->lenUnitType = static_cast<VL_LengthUnit>(3);
  EXPECT_EQ(call(*sync, u"SetUnitsEx", {*units}).code, S_OK);
  EXPECT_EQ(get_i32(peer.requests().back(), 12), 3);
  EXPECT_EQ(get_i32(peer.requests().back(), 24), 4);
  EXPECT_EQ(call(*sync, u"SetSearchParamsEx", {*units}).code, DISP_E_TYPEMISMATCH);  // another record
  EXPECT_EQ(call(*sync, u"SetUnitsEx", {*Value(1)}).code, DISP_E_TYPEMISMATCH);
  void* const memory = record;
  ASSERT_EQ(call(*sync, u"GetUnitsEx", {Value::to(units)}).code, S_OK);
  EXPECT_EQ(units->record.pvRecord, memory);  // filled in place
  EXPECT_EQ(record->lenUnitType, 1);
}

TEST_F(Dispatch, MakesAnExceptionRecordOfAFailureWhateverThePolicy) {
  std::int32_t status = VL_RS_TrackerNotInitialized;
  const auto sync =
      commands(u"ILTCommandSync", [&](const Bytes& request) { return answer(get_i32(request, 8), status); });
  const Called refused = call(*sync, u"FindReflector", {*Value(2.0)});
  EXPECT_EQ(refused.code, DISP_E_EXCEPTION);
  EXPECT_EQ(refused.scode, E_FAIL);
  EXPECT_EQ(refused.source, "Kestrine.LTConnect2.1");
  EXPECT_NE(refused.description.find("\"Find Reflector\" failed"), std::string::npos) << refused.description;
  EXPECT_EQ(take_error(E_FAIL).number(), VL_RS_TrackerNotInitialized);

  const DISPID policy = ids(*connection, {u"ExceptionHandlingPolicy"})[0];
  Value on(1);
  EXPECT_EQ(call(*connection, policy, DISPATCH_PROPERTYPUT, {*on}, {DISPID_PROPERTYPUT}).code, S_OK);
  Value value(5.0);
  const Called thrown = call(*connection, u"GetConstant", {*Value(23), Value::to(value)});
  EXPECT_EQ(thrown.code, DISP_E_EXCEPTION);
  EXPECT_EQ(thrown.description, "Wrong Parameter");
  EXPECT_EQ(value->dblVal, 5) << "the typed member has written 0";
}

TEST_F(Dispatch, HandsOutAllOutputsOrNone) {
  std::int32_t status = VL_RS_WrongParameter1;
  Value major(u"mine"), minor;
  minor->vt = VT_ARRAY | VT_UI1;
  minor->parray = SafeArrayCreateVector(VT_UI1, 0, 1);
  bool locks = false;
  const auto sync = commands(u"ILTCommandSync", [&](const Bytes&) {
    if (locks) SafeArrayLock(minor->parray);
    Bytes info = answer(VL_C_GetMeteoStationInfo, status) + Bytes(76);
    put_i32(info, 0, 92);
    put_i32(info, 16, 1);
    put_i32(info, 20, 'K');
    return info;
  });
  LONG type = -7;
  const BSTR mine = SysAllocString(u"mine");
  BSTR identifier = mine;
  const auto outcome = [&] {
    const HRESULT code =
        call(*sync, u"GetMeteoStationInfo",
             {Value::to(VT_I4, type), Value::to(VT_BSTR, identifier), Value::to(major), Value::to(minor)})
            .code;
    const bool kept = type == -7 && identifier == mine && major->vt == VT_BSTR && minor->vt == (VT_ARRAY | VT_UI1);
    return std::pair(code, kept);
  };
  EXPECT_EQ(outcome(), std::pair(DISP_E_EXCEPTION, true));
  status = VL_RS_AllOK;
  locks = true;
  EXPECT_EQ(outcome(), std::pair(DISP_E_ARRAYISLOCKED, true));
  EXPECT_EQ(outcome(), std::pair(DISP_E_ARRAYISLOCKED, true));
  EXPECT_EQ(peer.requests().size(), 2u) << "nothing is sent where the answer could not go";
  SafeArrayUnlock(minor->parray);
  locks = false;
  EXPECT_EQ(outcome(), std::pair(S_OK, false));
  EXPECT_EQ(type, 1);
  EXPECT_EQ(identifier, std::u16string(u"K"));
  EXPECT_TRUE(major->vt == VT_I4 && minor->vt == VT_I4);
  SysFreeString(identifier);
}

TEST_F(Dispatch, RefusesCountsWithoutArguments) {
  Value one(1);
  DISPID put = DISPID_PROPERTYPUT;
  const DISPID policy = ids(*connection, {u"ExceptionHandlingPolicy"})[0];
  const DISPID version = ids(*connection, {u"Version"})[0];
  const struct {
    DISPID id;
    WORD flags;
    DISPPARAMS given;
    HRESULT code;
  } rows[] = {{policy, DISPATCH_PROPERTYPUT, {nullptr, &put, 1, 1}, E_INVALIDARG},
              {policy, DISPATCH_PROPERTYPUT, {&*one, nullptr, 1, 1}, E_INVALIDARG},
              {policy, DISPATCH_PROPERTYPUT, {&*one, &put, UINT_MAX, 1}, DISP_E_BADPARAMCOUNT},
              {policy, DISPATCH_PROPERTYPUT, {&*one, &put, 1, UINT_MAX}, DISP_E_BADPARAMCOUNT},
              {version, DISPATCH_PROPERTYGET, {nullptr, nullptr, 0, 1}, DISP_E_BADPARAMCOUNT}};
  for (auto row : rows) {
    EXPECT_EQ(connection->Invoke(row.id, IID_NULL, 0, row.flags, &row.given, nullptr, nullptr, nullptr), row.code);
  }
}

TEST_F(Dispatch, PassesAWarningOnAndKeepsItsText) {
  const auto sync = commands(u"ILTCommandSync", [](const Bytes& request) { return answer(get_i32(request, 8), 17); });
  const Called called = call(*sync, u"GoBirdBath");
  EXPECT_EQ(called.code, S_FALSE);
  const Error warning = take_error(S_FALSE);
  EXPECT_STREQ(warning.what(), "Warning: Parameter 4 out of range but still accepted");
  EXPECT_EQ(to_utf8(warning.source()), "Kestrine.LTCommandSync2.1");
}

TEST_F(Dispatch, TakesAndGivesByteArraysAndBlamesNoCallForAnOlderFailure) {
  Value value;
  call(*connection, u"GetConstant", {*Value(23), Value::to(value)});
  const auto sync = commands(u"ILTCommandSync", units_answer);
  EXPECT_EQ(call(*sync, u"Initialize").code, S_OK);
  EXPECT_EQ(take_error(E_FAIL).number(), 40026);  // a success does not clear it
  Value data(u"replaced");
  EXPECT_EQ(call(*connection, u"GetData", {Value::to(data)}).code, S_OK);
  ASSERT_EQ(data->vt, VT_ARRAY | VT_UI1);
  EXPECT_EQ(data->parray->rgsabound[0].cElements, 16u);
  Value name((environment.directory() / "packet.bin").u16string().c_str());
  EXPECT_EQ(call(*connection, u"WriteDiskFile", {Value::to(data), *name}).code, S_OK);
}

}  // namespace
}  // namespace kestrine::test
