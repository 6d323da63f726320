#include "objects/version.h"

#include <gtest/gtest.h>

#include "kestrine/text.h"

namespace kestrine::test {
namespace {

using objects::Version;

TEST(VersionTest, ATextIsSplitAtItsCommas) {
  const std::pair<std::u16string_view, Version> rows[] = {
      {u"3, 8, 680, 28", {3, 8, 680}}, {u"3,8,680,28", {3, 8, 680}},
      {u"  3,\t8,  680", {3, 8, 680}}, {u"3, 8", {3, 8, 0}},
      {u"3.8.680.28", {3, 0, 0}},      {u"", {0, 0, 0}},
      {u",,3,,8,680", {3, 8, 680}},    {u"3, x, 680", {3, 0, 680}},
      {u"-1, 2x, 3", {-1, 2, 3}},      {u"\u0133, 8, 680", {3, 8, 680}},  // the low byte of each unit counts
      {u", , ,", {0, 0, 0}},           {u"3\u0100, 8, 680", {3, 0, 0}},   // and a zero among them ends the text
  };
  for (const auto& [text, expected] : rows) {
    const auto [major, minor, build] = objects::parse_version(text);
    EXPECT_TRUE(major == expected.major && minor == expected.minor && build == expected.build) << to_utf8(text);
  }
}

TEST(VersionTest, NumbersArePackedByTheirLowHalves) {
  EXPECT_EQ((Version{3, 8, 680}.packed()), 196'616);
  EXPECT_EQ((Version{0x12345, 0x6789A, 0}.packed()), 0x2345789A);
}

}  // namespace
}  // namespace kestrine::test
