#include "platform/notices.h"

#include <gtest/gtest.h>

#include <string>

#include "kestrine/host.h"

namespace kestrine::platform {
namespace {

TEST(NoticesTest, AMessageBoxGoesToItsHookWhichMayReplaceItselfAndWithoutOneToStandardError) {
  std::string heard;
  host::set_message_box_hook([&](const std::u16string& text, const std::u16string& caption, std::uint32_t style) {
    heard += text == u"t" && caption == u"c" ? "box" + std::to_string(style) : "?";
    host::set_message_box_hook({});
  });
  show_message_box(u"t", u"c", kIconStop);
  EXPECT_EQ(heard, "box16");
  ::testing::internal::CaptureStderr();
  show_message_box(u"Wrong \u00B5", u"Fatal", kIconExclamation);
  show_message_box(u"plain", u"", kIconStop);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Fatal: Wrong \xC2\xB5\nplain\n");
}

}  // namespace
}  // namespace kestrine::platform
