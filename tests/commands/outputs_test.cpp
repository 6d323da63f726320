// Outputs that do not simply come with the call's own answer.
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
}

TEST_F(Outputs, RefuseAStillImageWhoseSizeLies) {
  start();
  for (const std::int32_t claimed : {-1, 131'072 - 23, 0x7FFFFFFF}) {
    Bytes image = answer_of(24 + 3, VL_C_GetStillImage);
    put_i32(image, 20, claimed);
    peer.send(image);
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
