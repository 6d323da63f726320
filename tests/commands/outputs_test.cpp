// What calls send of their inputs, and how answers reach the output parameters.
#include <cstring>

#include "client_test.h"
#include "kestrine/wire.h"

namespace kestrine::test {
namespace {

constexpr std::int32_t kSmallest = -32768;

class Outputs : public ClientTest {
 protected:
  static Bytes answer_of(std::int32_t size, std::int32_t command, std::int32_t status = 0) {
    Bytes bytes = packet(size, VL_DT_Command);
    put_i32(bytes, 8, command);
    put_i32(bytes, 12, status);
    return bytes;
  }
  // A still image of so many bytes that claims to have `claimed`.
  static Bytes image(std::int32_t bytes, std::int32_t claimed) {
    Bytes whole = answer_of(24 + bytes, VL_C_GetStillImage);
    put_i32(whole, 20, claimed);
    for (std::int32_t i = 0; i < bytes; ++i) whole[static_cast<std::size_t>(24 + i)] = static_cast<std::uint8_t>(i + 1);
    return whole;
  }
};

TEST_F(Outputs, AreWrittenWhateverTheStatus) {
  start();
  double radius = 0;
  std::int32_t time = 0;
  for (const std::int32_t status : {0, 1, 13}) {
    Bytes bytes = answer_of(28, VL_C_GetSearchParams, status);
    put_f64(bytes, 16, 0.5 + status);
    put_i32(bytes, 24, 700 + status);
    peer.send(bytes);
    EXPECT_EQ(commands->GetSearchParams(&radius, &time), status == 0 ? S_OK : status == 13 ? S_FALSE : E_FAIL);
    EXPECT_EQ(radius, 0.5 + status);
    EXPECT_EQ(time, 700 + status);
  }
  set_timeout(u"StandardWaitTime", 20);
  commands->put_UseIncreasedTimeouts(VARIANT_FALSE);
  radius = 0;
  EXPECT_EQ(commands->GetSearchParams(&radius, &time), E_FAIL);
  EXPECT_EQ(radius, 13.5);  // what the buffer held
  SearchParamsDataT record{};
  EXPECT_EQ(commands->GetSearchParamsEx(&record), E_FAIL);
  EXPECT_TRUE(record.dSearchRadius == 13.5 && record.lTimeOut == 713);
}

TEST_F(Outputs, TakeTheLowHalfOfAFlagAsItIs) {
  start();
  Bytes bytes = answer_of(52, VL_C_GetSystemSettings);
  const std::int32_t flags[] = {1, 0x8000, 0x10000, -1, 0x12345678, 0, 2, 0xFFFF};
  for (std::size_t i = 0; i < 8; ++i) put_i32(bytes, 20 + 4 * i, flags[i]);
  peer.send(bytes);
  VL_WeatherMonitorStatus monitor{};
  VARIANT_BOOL out[8]{};
  EXPECT_EQ(
      commands->GetSystemSettings(&monitor, &out[0], &out[1], &out[2], &out[3], &out[4], &out[5], &out[6], &out[7]),
      S_OK);
  const VARIANT_BOOL expected[] = {1, kSmallest, 0, -1, 0x5678, 0, 2, -1};
  for (std::size_t i = 0; i < 8; ++i) EXPECT_EQ(out[i], expected[i]) << i;
  SystemSettingsDataT record{};
  peer.send(bytes);
  EXPECT_EQ(commands->GetSystemSettingsEx(&record), S_OK);
  EXPECT_EQ(std::int32_t{record.bApplyStationOrientationParams}, 0x8000);  // a record's fields come whole
}

TEST_F(Outputs, CopyATextUpToItsEndOrItsField) {
  start();
  for (const std::size_t units : {0u, 5u, 31u, 32u}) {
    Bytes bytes = answer_of(80, VL_C_GetSystemSoftwareVersion);
    for (std::size_t i = 0; i < units; ++i) wire::store_u16(&bytes[16 + 2 * i], static_cast<std::uint16_t>(0x3B1 + i));
    peer.send(bytes);
    BSTR text = nullptr;
    EXPECT_EQ(commands->GetSystemSoftwareVersion(&text), S_OK);
    EXPECT_EQ(SysStringLen(text), units);
    EXPECT_EQ(text[0], units == 0 ? u'\0' : u'\x3B1');
    SysFreeString(text);
  }
}

TEST_F(Outputs, SendRecordsAndFlagsInTheirWireForm) {
  start();
  peer.send(answer(VL_C_SetSystemSettings, 0));
  SystemSettingsDataT record{};
  record.bKeepLastPosition = 256;
  record.bHasTiltra = VARIANT_TRUE;
  EXPECT_EQ(told(commands->SetSystemSettingsEx(record)), "ok");
  EXPECT_EQ(sent(12), (std::vector<std::int32_t>{0, 0, 0, 1, 0, 0, 0, 1, 0}));
  peer.send(answer(VL_C_SwitchLaser, 0));
  EXPECT_EQ(told(commands->SwitchLaser(VARIANT_TRUE)), "ok");
  EXPECT_EQ(sent(), (std::vector<std::int32_t>{VL_C_SwitchLaser, 1}));
}

TEST_F(Outputs, OfAListQueryArriveAsEventsAfterItHasReturned) {
  start();
  EXPECT_EQ(told(commands->GetReflectors()), "ok");
  EXPECT_EQ(sent(0), (std::vector<std::int32_t>{12, 0, VL_C_GetReflectors}));
  EXPECT_FALSE(engine().is_answer_pending());
  Bytes item = answer_of(100, VL_C_GetReflectors);
  put_i32(item, 16, 2);
  put_i32(item, 20, 7);
  item[36] = 'R';
  peer.send(item + item);
  EXPECT_EQ(heard_in_time(2), (Lines{"sync ReflectorsData 7 'R' 0 0 2", "sync ReflectorsData 7 'R' 0 0 2"}));
}

TEST_F(Outputs, HoldAStillImageAsAByteArray) {
  start();
  for (const std::int32_t bytes : {0, 3, 100'000}) {
    peer.send(image(bytes, bytes));
    std::int32_t size = -1;
    VARIANT file;
    VariantInit(&file);
    EXPECT_EQ(told(commands->GetStillImage(static_cast<VL_StillImageFileType>(0), &size, &file)), "ok");
    EXPECT_EQ(size, bytes);
    ASSERT_EQ(file.vt, VT_ARRAY | VT_UI1);
    void* data = nullptr;
    ASSERT_EQ(SafeArrayAccessData(file.parray, &data), S_OK);
    const Bytes whole = image(bytes, bytes);
    EXPECT_EQ(std::memcmp(data, whole.data() + 24, static_cast<std::size_t>(bytes)), 0);
    SafeArrayUnaccessData(file.parray);
    VariantClear(&file);
  }
}

TEST_F(Outputs, RefuseAStillImageWhoseSizeLies) {
  start();
  for (const std::int32_t claimed : {-1, 131'072 - 23, 0x7FFFFFFF}) {
    peer.send(image(3, claimed));
    std::int32_t size = 0;
    VARIANT file;
    VariantInit(&file);
    EXPECT_EQ(told(commands->GetStillImage(static_cast<VL_StillImageFileType>(0), &size, &file)),
              "80004005 40007 Kestrine.LTConnect.1: SAFEARRAY creation failed (fatal error) !");
    EXPECT_EQ(file.vt, VT_EMPTY);
    EXPECT_FALSE(engine().is_answer_pending());
  }
}

}  // namespace
}  // namespace kestrine::test
