#include "platform/notices.h"

#include <gtest/gtest.h>

#include <string>

#include "kestrine/host.h"

namespace kestrine::platform {
namespace {

TEST(NoticesTest, HooksTakeOverUntilTheyAreTakenAwayAndThenOnlyMessageBoxesAreHeard) {
  std::string heard;
  host::set_message_box_hook([&](const std::u16string& text, const std::u16string& caption, std::uint32_t style) {
    heard += text == u"t" && caption == u"c" ? "box" + std::to_string(style) : "?";
    host::set_message_box_hook({});
  });
  host::set_log_hook([&](const std::string& line) { heard += " " + line; });
  show_message_box(u"t", u"c", kIconStop);
  log_line("line");
  host::set_log_hook({});
  log_line("line");
  ::testing::internal::CaptureStderr();
  show_message_box(u"Wrong \u00B5", u"Fatal", kIconExclamation);
  show_message_box(u"plain", u"", kIconStop);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Fatal: Wrong \xC2\xB5\nplain\n") << "a hook may replace itself";
  EXPECT_EQ(heard, "box16 line");
}

}  // namespace
}  // namespace kestrine::platform
