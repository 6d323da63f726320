#include "data/version.h"

#include "client_test.h"
#include "kestrine/text.h"

namespace kestrine::test {
namespace {

class VersionTest : public ClientTest {};

TEST_F(VersionTest, ATextIsSplitAtItsCommas) {
  struct Row {
    std::u16string_view text;
    data::Version version;
  };
  const Row rows[] = {
      {u"3, 8, 680, 28", {3, 8, 680}}, {u"3,8,680,28", {3, 8, 680}},
      {u"  3,\t8,  680", {3, 8, 680}}, {u"3, 8", {3, 8, 0}},
      {u"3.8.680.28", {3, 0, 0}},      {u"", {0, 0, 0}},
      {u",,3,,8,680", {3, 8, 680}},    {u"3, x, 680", {3, 0, 680}},
      {u"-1, 2x, 3", {-1, 2, 3}},      {u"\u0133, 8, 680", {3, 8, 680}},  // the low byte of each unit counts
      {u", , ,", {0, 0, 0}},           {u"3\u0100, 8, 680", {3, 0, 0}},   // and a zero among them ends the text
  };
  for (const Row& row : rows) {
    const data::Version version = data::parse_version(row.text);
    EXPECT_EQ(version.major, row.version.major) << to_utf8(row.text);
    EXPECT_EQ(version.minor, row.version.minor) << to_utf8(row.text);
    EXPECT_EQ(version.build, row.version.build) << to_utf8(row.text);
  }
}

TEST_F(VersionTest, NumbersArePackedByTheirLowHalves) {
  EXPECT_EQ((data::Version{3, 8, 680}.packed()), 196'616);
  EXPECT_EQ((data::Version{0x12345, 0x6789A, 0}.packed()), 0x2345789A);
}

TEST_F(VersionTest, AConnectionTellsTheLibrarysOwn) {
  make();
  std::int32_t value = 0;
  const auto read = [&](auto property) {
    EXPECT_EQ((connection.get()->*property)(&value), S_OK);
    EXPECT_EQ((connection.get()->*property)(nullptr), E_POINTER);
    return value;
  };
  EXPECT_EQ(read(&component::CLTConnect::get_Version), 196'616);
  EXPECT_EQ(read(&component::CLTConnect::get_MajorVersion), 3);
  EXPECT_EQ(read(&component::CLTConnect::get_MinorVersion), 8);
  EXPECT_EQ(read(&component::CLTConnect::get_BuildNumber), 680);
  connection->version = data::Version{0x8001, 0xFFFF, 0}.packed();
  EXPECT_EQ(read(&component::CLTConnect::get_MajorVersion), 0x8001) << "no sign";
  EXPECT_EQ(read(&component::CLTConnect::get_MinorVersion), 0xFFFF);
}

}  // namespace
}  // namespace kestrine::test
