#include "protocol/texts.h"

#include <gtest/gtest.h>

#include <map>

namespace kestrine::protocol {
namespace {

TEST(Texts, GiveEveryStatusItsOwnOrOneForWhatIsNone) {
  const std::u16string unexpected = u"Unknown status (unexpected)";
  const std::map<std::int32_t, std::u16string> cases = {
      {34, unexpected},    {63, unexpected},     {99, u"No Trigger Board"}, {100, u"TRK #100"},
      {999, u"TRK #999"},  {1000, u"1000"},      {10026, u"10026"},         {29999, u"29999"},
      {30000, unexpected}, {100000, unexpected}, {100001, u"100001"},       {-1, unexpected}};
  for (const auto& [status, text] : cases) EXPECT_EQ(status_text(status), text) << status;
}

TEST(Texts, NameEveryCommandAndWhatIsNone) {
  const std::u16string unexpected = u"Unknown command (unexpected)";
  const std::map<std::int32_t, std::u16string> cases = {
      {0, u"Exit Application"}, {7, u"Initialize"}, {64, u"Unknown command"}, {144, u"System Power Down"},
      {50, unexpected},         {999, unexpected},  {-1, unexpected}};
  for (const auto& [command, text] : cases) {
    EXPECT_EQ(command_text(command), text) << command;
    EXPECT_EQ(command_text(command).data()[text.size()], u'\0') << command;
  }
  EXPECT_EQ(send_failure_text(7), u"Invoking command \"Initialize\" [7] failed!");
}

}  // namespace
}  // namespace kestrine::protocol
