#include <cstring>

#include "described.h"
#include "kestrine/records.h"

namespace kestrine::test {
namespace {

Pointer<IRecordInfo> record_named(const char* name) {
  Pointer<IRecordInfo> record;
  EXPECT_EQ(GetRecordInfoFromTypeInfo(type_named(name).get(), record.put()), S_OK) << name;
  return record;
}

VARIANT number(double value) {
  VARIANT variant{};
  variant.vt = VT_R8;
  variant.dblVal = value;
  return variant;
}

std::size_t size_of(ITypeInfo& info, const TYPEDESC& type) {
  if (type.vt == VT_CARRAY) return size_of(info, type.lpadesc->tdescElem) * type.lpadesc->rgbounds[0].cElements;
  if (type.vt == VT_USERDEFINED) return attributes_of(*referred(info, type.hreftype)).cbSizeInstance;
  return type.vt == VT_R8 ? 8 : type.vt == VT_UI1 ? 1 : type.vt == VT_UI2 ? 2 : 4;
}

// One below the other without a gap, as they travel; the last may be followed by padding of up to 3 bytes.
TEST(RecordInfo, FieldsOfEveryRecordFillIt) {
  int records = 0;
  for (UINT i = 0; i < type_library()->GetTypeInfoCount(); ++i) {
    const auto info = type_at(i);
    const TYPEATTR attributes = attributes_of(*info);
    if (attributes.typekind != TKIND_RECORD) continue;
    std::size_t end = 0;
    for (UINT place = 0; place < attributes.cVars; ++place) {
      VARDESC* field = nullptr;
      ASSERT_EQ(info->GetVarDesc(place, &field), S_OK);
      EXPECT_EQ(field->oInst, end) << name_of(*info) << '.' << name_of(*info, field->memid);
      end += size_of(*info, field->elemdescVar.tdesc);
      info->ReleaseVarDesc(field);
    }
    EXPECT_EQ((end + 3) / 4 * 4, attributes.cbSizeInstance) << name_of(*info);
    ULONG size = 0;
    ULONG names = 0;
    const auto record = record_named(name_of(*info).c_str());
    EXPECT_EQ(record->GetSize(&size), S_OK);
    EXPECT_EQ(size, attributes.cbSizeInstance);
    EXPECT_EQ(record->GetFieldNames(&names, nullptr), S_OK);
    EXPECT_EQ(names, attributes.cVars);
    ++records;
  }
  EXPECT_GT(records, 100);
}

TEST(RecordInfo, FieldsAreThoseOfTheStruct) {
  SingleMeasResultT result;
  result.packetInfo.status = VL_RS_WrongParameter;
  result.dHumidity = 55.5;
  const auto record = record_named("SingleMeasResultT");
  VARIANT value{};
  ASSERT_EQ(record->GetField(&result, u"DHUMIDITY", &value), S_OK);
  EXPECT_EQ(value.vt, VT_R8);
  EXPECT_EQ(value.dblVal, 55.5);
  ASSERT_EQ(record->GetField(&result, u"packetInfo", &value), S_OK);
  ASSERT_EQ(value.vt, VT_RECORD);
  VARIANT inner{};
  ASSERT_EQ(value.record.pRecInfo->GetField(value.record.pvRecord, u"status", &inner), S_OK);
  EXPECT_EQ(inner.vt, VT_I4);
  EXPECT_EQ(inner.lVal, VL_RS_WrongParameter);
  static_cast<ReturnDataT*>(value.record.pvRecord)->status = VL_RS_AllOK;
  EXPECT_EQ(record->PutField(INVOKE_PROPERTYPUT, &result, u"packetInfo", &value), S_OK);
  EXPECT_EQ(result.packetInfo.status, VL_RS_AllOK);
  VariantClear(&value);

  value = number(2.5);
  EXPECT_EQ(record->PutField(INVOKE_PROPERTYPUT, &result, u"measMode", &value), S_OK) << "converted, half to even";
  EXPECT_EQ(static_cast<std::int32_t>(result.measMode), 2);
  value = number(1e12);
  EXPECT_EQ(record->PutField(INVOKE_PROPERTYPUT, &result, u"measMode", &value), DISP_E_OVERFLOW);
  EXPECT_EQ(record->PutField(INVOKE_PROPERTYPUT, &result, u"packetInfo", &value), DISP_E_TYPEMISMATCH);
  EXPECT_EQ(record->GetField(&result, u"nothing", &value), TYPE_E_FIELDNOTFOUND);

  void* elements = &result;
  ASSERT_EQ(record->GetFieldNoCopy(&result, u"dHumidity", &value, &elements), S_OK);
  EXPECT_EQ(value.vt, VT_BYREF | VT_R8);
  EXPECT_EQ(value.byref, reinterpret_cast<char*>(&result) + offsetof(SingleMeasResultT, dHumidity));
}

TEST(RecordInfo, TextsTravelAsTexts) {
  const auto record = record_named("GetReflectorsRT");
  GetReflectorsRT reflector;
  VARIANT value{};
  value.vt = VT_BSTR;
  value.bstrVal = SysAllocString(u"CCR 1.5");
  std::memset(reflector.cReflectorName, 0x55, sizeof reflector.cReflectorName);
  ASSERT_EQ(record->PutField(INVOKE_PROPERTYPUT, &reflector, u"cReflectorName", &value), S_OK);
  EXPECT_EQ(std::u16string(reflector.cReflectorName), u"CCR 1.5");
  EXPECT_EQ(reflector.cReflectorName[31], u'\0');
  VariantClear(&value);
  value.vt = VT_BSTR;
  value.bstrVal = SysAllocString(std::u16string(33, u'x').c_str());
  EXPECT_EQ(record->PutField(INVOKE_PROPERTYPUT, &reflector, u"cReflectorName", &value), DISP_E_OVERFLOW);
  VariantClear(&value);
  std::memset(reflector.cReflectorName, 'y', sizeof reflector.cReflectorName);
  ASSERT_EQ(record->GetField(&reflector, u"cReflectorName", &value), S_OK);
  EXPECT_EQ(SysStringLen(value.bstrVal), 32U) << "a text without an end fills its field";
  VariantClear(&value);
}

TEST(RecordInfo, VariantsOwnTheirRecords) {
  const auto record = record_named("SystemSettingsDataT");
  VARIANT first{};
  first.record = {record->RecordCreate(), record.get()};
  first.vt = VT_RECORD;
  auto& settings = *static_cast<SystemSettingsDataT*>(first.record.pvRecord);
  EXPECT_EQ(settings.weatherMonitorStatus, VL_WeatherMonitorStatus{}) << "made of zeros";
  settings.weatherMonitorStatus = VL_WMS_ReadAndCalculateRefractions;
  VARIANT second{};
  ASSERT_EQ(VariantCopy(&second, &first), S_OK);
  EXPECT_NE(second.record.pvRecord, first.record.pvRecord);
  EXPECT_EQ(std::memcmp(second.record.pvRecord, first.record.pvRecord, sizeof settings), 0);
  VARIANT reference = first;
  reference.vt = VT_BYREF | VT_RECORD;
  VARIANT third{};
  ASSERT_EQ(VariantCopyInd(&third, &reference), S_OK);
  EXPECT_NE(third.record.pvRecord, first.record.pvRecord);
  EXPECT_EQ(VariantClear(&reference), S_OK);
  for (VARIANT* variant : {&first, &second, &third}) EXPECT_EQ(VariantClear(variant), S_OK);
  EXPECT_EQ(record->IsMatchingType(record_named("systemsettingsdatat").get()), 1);
  EXPECT_EQ(record->IsMatchingType(record_named("SystemUnitsDataT").get()), 0);
  Pointer<IRecordInfo> none;
  EXPECT_EQ(GetRecordInfoFromTypeInfo(type_named("VL_MeasMode").get(), none.put()), TYPE_E_WRONGTYPEKIND);
  VARIANT blank{};
  blank.vt = VT_RECORD;
  EXPECT_EQ(VariantCopy(&second, &blank), S_OK);
}

}  // namespace
}  // namespace kestrine::test
