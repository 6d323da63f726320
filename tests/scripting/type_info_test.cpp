#include "scripting/type_info.h"

#include <map>
#include <set>
#include <sstream>

#include "described.h"
#include "kestrine/enums.h"
#include "kestrine/interfaces.h"

namespace kestrine::test {
namespace {

// As the rows have it that calls and events are made from.
std::string expected(const protocol::MemberRow& row) {
  static const char* const kWords[] = {"long", "bool", "double", "text", "variant", "record", "unknown"};
  const bool property = row.kind != protocol::MemberKind::kMethod;
  std::string line = (property ? "put " : "") + std::to_string(row.dispid) + " nothing " + row.name + '(';
  for (const protocol::Value& value : row.values) {
    const bool points = value.out || value.type == protocol::ValueType::kBytes;
    line += std::string(&value == row.values.data() ? "" : ", ") + (value.out ? "out " : "in ");
    line += value.named != nullptr ? value.named->name : kWords[static_cast<std::size_t>(value.type)];
    line += points ? "*" : "";
    if (!property) line += std::string(" ") + value.name;
  }
  return line + ')';
}

TEST(TypeInfo, DescribesEveryOperationAndEvent) {
  const std::pair<const char*, std::span<const protocol::MemberRow>> types[] = {
      {"ILTCommandSync2", protocol::sync_methods()},        {"ILTCommandAsync2", protocol::async_methods()},
      {"_ILTCommandSyncEvents", protocol::sync_events()},   {"_ILTCommandSync2Events", protocol::sync_events()},
      {"_ILTCommandAsyncEvents", protocol::async_events()}, {"_ILTCommandAsync2Events", protocol::async_events()}};
  for (const auto& [name, rows] : types) {
    const auto info = type_named(name);
    ASSERT_EQ(attributes_of(*info).cFuncs, rows.size()) << name;
    for (std::size_t i = 0; i < rows.size(); ++i) {
      EXPECT_EQ(signature(*info, static_cast<UINT>(i)), expected(rows[i])) << name;
    }
  }
}

TEST(TypeInfo, DescribesAConnectionAsScriptsAndAsVtablesSeeIt) {
  const auto dual = type_named("ILTConnect2");
  const auto vtable = base_of(*dual, static_cast<UINT>(-1));
  const auto first = type_named("iltconnect");
  ASSERT_EQ(attributes_of(*dual).cFuncs, 24);
  EXPECT_EQ(signature(*dual, 2), "get 3 VL_ResultStatus LastResultStatus()");
  EXPECT_EQ(signature(*dual, 0), "get 1 unknown ILTCommandAsync()");
  EXPECT_EQ(signature(*dual, 6), "7 nothing GetData(out variant* data)");
  EXPECT_EQ(signature(*dual, 16), "put 17 nothing ExceptionHandlingPolicy(in long)");
  EXPECT_EQ(signature(*vtable, 2), "get 3 status LastResultStatus(out result VL_ResultStatus*)");
  for (UINT i = 0; i < 24; ++i) EXPECT_EQ(signature(*first, i), signature(*vtable, i));
  Text member("ConnectEmbeddedSystem"), parameter("port");
  LPOLESTR names[] = {member, parameter};
  MEMBERID ids[2] = {};
  EXPECT_TRUE(dual->GetIDsOfNames(names, 2, ids) == S_OK && ids[0] == 4 && ids[1] == 1);
  EXPECT_EQ(base_of(*vtable, static_cast<UINT>(-1)).get(), dual.get());

  const struct {
    ITypeInfo* info;
    TYPEKIND kind;
    WORD flags;
    int vtable_slots;
    int slots_before;
    FUNCKIND function;
    const char* base;
  } rows[] = {{dual.get(), TKIND_DISPATCH, 0x11C0, 7, 7, FUNC_DISPATCH, "IDispatch"},
              {vtable.get(), TKIND_INTERFACE, 0x11C0, 31, 7, FUNC_PUREVIRTUAL, "IDispatch"},
              {first.get(), TKIND_INTERFACE, TYPEFLAG_FOLEAUTOMATION, 27, 3, FUNC_PUREVIRTUAL, "IUnknown"}};
  for (const auto& row : rows) {
    const TYPEATTR attributes = attributes_of(*row.info);
    EXPECT_EQ(attributes.typekind, row.kind);
    EXPECT_EQ(attributes.wTypeFlags, row.flags);
    EXPECT_EQ(attributes.cbSizeVft, row.vtable_slots * 8);
    FUNCDESC* last = nullptr;
    ASSERT_EQ(row.info->GetFuncDesc(23, &last), S_OK);
    EXPECT_EQ(last->oVft, (row.slots_before + 23) * 8);
    EXPECT_EQ(last->funckind, row.function);
    EXPECT_EQ(last->callconv, CC_STDCALL);
    row.info->ReleaseFuncDesc(last);
    EXPECT_EQ(name_of(*base_of(*row.info)), row.base);
  }
  EXPECT_EQ(attributes_of(*dual).guid, IID_ILTConnect2);
}

TEST(TypeInfo, ListsTheValuesOfEveryEnumeration) {
  std::map<std::string, std::int32_t> values;
  for (UINT i = 0; i < type_library()->GetTypeInfoCount(); ++i) {
    const auto info = type_at(i);
    const TYPEATTR attributes = attributes_of(*info);
    if (attributes.typekind != TKIND_ENUM) continue;
    for (UINT place = 0; place < attributes.cVars; ++place) {
      VARDESC* variable = nullptr;
      ASSERT_EQ(info->GetVarDesc(place, &variable), S_OK);
      EXPECT_TRUE(variable->varkind == VAR_CONST && variable->lpvarValue->vt == VT_I4);
      Text name(name_of(*info, variable->memid));
      EXPECT_TRUE(values.emplace(name.utf8(), variable->lpvarValue->lVal).second) << "twice: " << name.utf8();
      LPOLESTR asked = name;
      MEMBERID id = 0;
      EXPECT_EQ(info->GetIDsOfNames(&asked, 1, &id), S_OK);
      EXPECT_EQ(id, variable->memid);
      info->ReleaseVarDesc(variable);
    }
  }
  EXPECT_EQ(values["VL_RS_WrongParameter"], VL_RS_WrongParameter);
  EXPECT_EQ(values["KR_C_TemperatureOffsetFahrenheit"], 22);
}

TEST(TypeInfo, TellsWhatAClassImplementsAndFires) {
  const struct {
    const char* name;
    CLSID id;
    const char* interface;
    const char* events;
  } rows[] = {
      {"LTConnect2", CLSID_LTConnect2, "ILTConnect2", nullptr},
      {"LTCommandAsync2", CLSID_LTCommandAsync2, "ILTCommandAsync2", "_ILTCommandAsync2Events"},
  };
  for (const auto& row : rows) {
    const auto info = type_named(row.name);
    const TYPEATTR attributes = attributes_of(*info);
    EXPECT_EQ(attributes.guid, row.id);
    EXPECT_EQ(attributes.typekind, TKIND_COCLASS);
    EXPECT_TRUE((attributes.wTypeFlags & TYPEFLAG_FCANCREATE) != 0);
    ASSERT_EQ(attributes.cImplTypes, row.events == nullptr ? 1 : 2) << row.name;
    EXPECT_EQ(name_of(*base_of(*info)), row.interface);
    INT flags = 0;
    EXPECT_EQ(info->GetImplTypeFlags(0, &flags), S_OK);
    EXPECT_EQ(flags, IMPLTYPEFLAG_FDEFAULT);
    if (row.events == nullptr) continue;
    EXPECT_EQ(name_of(*base_of(*info, 1)), row.events);
    EXPECT_EQ(info->GetImplTypeFlags(1, &flags), S_OK);
    EXPECT_EQ(flags, IMPLTYPEFLAG_FDEFAULT | IMPLTYPEFLAG_FSOURCE);
  }
}

TEST(TypeInfo, SaysWhatItDoesNotHave) {
  const auto info = type_named("ILTConnect");
  FUNCDESC* function = nullptr;
  VARDESC* variable = nullptr;
  BSTR name = nullptr;
  UINT count = 0;
  HREFTYPE reference = 0;
  Pointer<ITypeInfo> other;
  for (const HRESULT result :
       {info->GetFuncDesc(24, &function), info->GetVarDesc(0, &variable), info->GetNames(25, &name, 1, &count),
        info->GetRefTypeOfImplType(1, &reference), info->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference)}) {
    EXPECT_EQ(result, TYPE_E_ELEMENTNOTFOUND);
  }
  EXPECT_EQ(info->GetRefTypeInfo(0xFFFFFFFF, other.put()), E_INVALIDARG);
}

TEST(TypeLibrary, HoldsEveryTypeOnceUnderItsNameAndIdentifier) {
  const auto library = type_library();
  std::map<TYPEKIND, int> kinds;
  std::set<std::string> names;
  for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
    const auto info = type_at(i);
    const TYPEATTR attributes = attributes_of(*info);
    TYPEKIND kind = TKIND_MAX;
    EXPECT_EQ(library->GetTypeInfoType(i, &kind), S_OK);
    EXPECT_EQ(kind, attributes.typekind);
    ++kinds[kind];
    EXPECT_TRUE(names.insert(name_of(*info)).second) << name_of(*info);
    UINT place = 0;
    Pointer<ITypeLib> home;
    EXPECT_EQ(info->GetContainingTypeLib(home.put(), &place), S_OK);
    EXPECT_EQ(place, i);
    if (kind == TKIND_ENUM || kind == TKIND_RECORD) continue;
    Pointer<ITypeInfo> found;
    EXPECT_EQ(library->GetTypeInfoOfGuid(attributes.guid, found.put()), S_OK);
    EXPECT_EQ(name_of(*found), name_of(*info));
  }
  EXPECT_EQ(kinds[TKIND_INTERFACE], 3);
  EXPECT_EQ(kinds[TKIND_DISPATCH], 7);
  EXPECT_EQ(kinds[TKIND_COCLASS], 6);
  Pointer<ITypeInfo> none;
  EXPECT_EQ(library->GetTypeInfoOfGuid(GUID_NULL, none.put()), TYPE_E_ELEMENTNOTFOUND);
  EXPECT_EQ(library->GetTypeInfo(library->GetTypeInfoCount(), none.put()), TYPE_E_ELEMENTNOTFOUND);
}

TEST(TypeLibrary, TellsItsNameVersionAndWhatNamesItKnows) {
  const auto library = type_library();
  TLIBATTR* attributes = nullptr;
  ASSERT_EQ(library->GetLibAttr(&attributes), S_OK);
  EXPECT_EQ(attributes->guid, LIBID_KESTRINELib);
  EXPECT_EQ(attributes->wMajorVerNum, 8);
  EXPECT_EQ(attributes->wMinorVerNum, 3);
  library->ReleaseTLibAttr(attributes);
  const std::pair<const char*, BOOL> known[] = {
      {"kestrinelib", 1}, {"GetReflectors", 1}, {"vl_rs_allok", 1}, {"GetIt", 0}};
  for (const auto& [asked, found] : known) {
    BOOL answer = -1;
    EXPECT_EQ(library->IsName(Text(asked), 0, &answer), S_OK);
    EXPECT_EQ(answer, found) << asked;
  }
  ITypeInfo* places[2] = {};
  MEMBERID ids[2] = {};
  USHORT count = 2;
  ASSERT_EQ(library->FindName(Text("getdata"), 0, places, ids, &count), S_OK);
  ASSERT_EQ(count, 2);
  EXPECT_EQ(name_of(*places[1], ids[1]), "GetData");
  for (ITypeInfo* place : places) place->Release();
}

}  // namespace
}  // namespace kestrine::test
