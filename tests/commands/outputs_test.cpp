// Outputs that do not simply come with the call's own answer.
#include <cstring>

#include "client_test.h"

namespace kestrine::test {
namespace {

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

TEST_F(Outputs, OfACallThatNobodyAnswersAreWhatTheBufferHeld) {
  set_timeout(u"StandardWaitTime", 20);
  start();
  Bytes bytes = answer_of(28, VL_C_GetSearchParams);
  put_f64(bytes, 16, 13.5);
  put_i32(bytes, 24, 713);
  deliver(bytes);
  double radius = 0;
  std::int32_t time = 0;
  EXPECT_EQ(commands->GetSearchParams(&radius, &time), E_FAIL);
  EXPECT_TRUE(radius == 13.5 && time == 713);
  SearchParamsDataT record{};
  EXPECT_EQ(commands->GetSearchParamsEx(&record), E_FAIL);
  EXPECT_TRUE(record.dSearchRadius == 13.5 && record.lTimeOut == 713);
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
  for (const std::int32_t bytes : {0, 100'000}) {
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
