#include "protocol/texts.h"

#include <gtest/gtest.h>

#include <climits>
#include <map>

#include "protocol/errors.h"

namespace kestrine::protocol {
namespace {

TEST(StatusText, GivesEveryNumberAText) {
  const std::u16string unexpected = u"Unknown status (unexpected)";
  const std::map<std::int32_t, std::u16string> cases{
      {0, u"All OK"},
      {34, unexpected},
      {36, u"Unknown status"},
      {63, unexpected},
      {99, u"No Trigger Board"},
      {100, u"TRK #100"},
      {999, u"TRK #999"},
      {1000, u"1000"},
      {10000, u"10000"},
      {10001, u"No Shank Compensation is set"},
      {10025, u"Item selection failed"},
      {10026, u"10026"},
      {29999, u"29999"},
      {30000, unexpected},
      {100000, unexpected},
      {100001, u"100001"},
      {INT_MAX, u"2147483647"},
      {-1, unexpected},
      {INT_MIN, unexpected},
  };
  for (const auto& [status, text] : cases) EXPECT_EQ(status_text(status), text) << status;
}

TEST(CommandText, NamesEveryCommandAndWhatIsNone) {
  const std::map<std::int32_t, std::u16string> cases{
      {0, u"Exit Application"},
      {7, u"Initialize"},
      {64, u"Unknown command"},
      {144, u"System Power Down"},
      {50, u"Unknown command (unexpected)"},
      {999, u"Unknown command (unexpected)"},
      {-1, u"Unknown command (unexpected)"},
  };
  for (const auto& [command, text] : cases) EXPECT_EQ(command_text(command), text) << command;
}

TEST(CommandText, EndsInANul) {
  for (std::int32_t command = -1; command <= 145; ++command) {
    const std::u16string_view text = command_text(command);
    EXPECT_EQ(text.data()[text.size()], u'\0') << command;
  }
}

TEST(SendFailureText, NamesTheCommandAndItsCode) {
  EXPECT_EQ(send_failure_text(7), u"Invoking command \"Initialize\" [7] failed!");
  EXPECT_EQ(send_failure_text(-5), u"Invoking command \"Unknown command (unexpected)\" [-5] failed!");
}

TEST(WarningRow, KnowsTheSixAcceptedParametersOnly) {
  for (std::int32_t status = -2; status < 30; ++status) {
    const bool warns = status >= 11 && status <= 21 && status % 2 == 1;
    EXPECT_EQ(warning_row(status), warns ? 517 + (status - 11) / 2 : 0) << status;
  }
}

TEST(TableText, GivesNothingForARowThatIsNotThere) {
  EXPECT_EQ(table_text(524), u"");
  EXPECT_EQ(table_text(0), u"");
  EXPECT_EQ(table_text(-1), u"");
  EXPECT_EQ(table_text(514), u"Object already connected to server\n");
}

TEST(Errors, PointToTheTextThatSaysWhatHappened) {
  EXPECT_EQ(error::kPendingAnswer.number, 40001);
  EXPECT_EQ(table_text(error::kPendingAnswer.row), u"Command failed due to pending synchronous answer");
  EXPECT_EQ(error::kSendFailed.row, 0);
  EXPECT_EQ(table_text(error::kWrongConstant.row), u"Wrong Parameter");
  EXPECT_EQ(table_text(text_row::kTrackerError), u"TRK #");
}

}  // namespace
}  // namespace kestrine::protocol
