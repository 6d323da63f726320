#include "platform/profile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "environment.h"
#include "kestrine/text.h"

namespace kestrine::platform {
namespace {

using std::filesystem::path;

class ProfileTest : public ::testing::Test {
 protected:
  void put(const std::string& text) const { std::ofstream(file(), std::ios::binary) << text; }
  std::string text() const { return test::text_of(file()); }
  path file() const { return directory_ / "Test.ini"; }
  static std::int32_t read(std::u16string_view key, std::u16string_view section = u"Settings") {
    return profile_int(section, key, 77, u"Test.ini");
  }
  static bool write(std::u16string_view key, std::u16string_view value, std::u16string_view section = u"Settings") {
    return write_profile_string(section, key, value, u"Test.ini");
  }

  test::Environment environment_;
  const path& directory_ = environment_.directory();
};

TEST_F(ProfileTest, ReadsIntegersUpToTheFirstOtherCharacter) {
  put("\xEF\xBB\xBF[settings]\r\n; a=1\r\nplain=42\r\n  Spaced  =  -7 ; note\r\nplus=+8x\r\nword=abc\r\nempty=\r\n"
      "huge=99999999999\r\ndeep=-99999999999\r\nplain=1\r\n[ Other ]\nplain=3\n[Settings]\nlate=5\n[Other]\nlast=6");
  const std::pair<std::u16string_view, std::int32_t> cases[] = {
      {u"PLAIN", 42},       {u"spaced", -7},      {u"plus", 8},     {u"word", 0}, {u"empty", 0},
      {u"huge", INT32_MAX}, {u"deep", INT32_MIN}, {u"missing", 77}, {u"a", 77},   {u"late", 77}};
  for (const auto& [key, value] : cases) EXPECT_EQ(read(key), value) << std::string(key.begin(), key.end());
  EXPECT_EQ(read(u"plain", u"OTHER"), 3);
  EXPECT_EQ(read(u"last", u"Other"), 77) << "the first of two sections counts";
  EXPECT_EQ(read(u"plain", u"Nowhere"), 77);
}

TEST_F(ProfileTest, MissingOrUnreadableFilesGiveTheDefault) {
  EXPECT_EQ(read(u"plain"), 77);
  std::filesystem::create_directory(file());
  EXPECT_EQ(read(u"plain"), 77);
  EXPECT_FALSE(write(u"plain", u"1"));
  std::filesystem::remove(file());
  ASSERT_EQ(::mkfifo(file().c_str(), 0600), 0);
  EXPECT_EQ(read(u"plain"), 77);
  EXPECT_FALSE(write(u"plain", u"1")) << "neither waits for a writer nor replaces what is no file";
}

TEST_F(ProfileTest, WritingKeepsEveryOtherLine) {
  const std::pair<const char*, const char*> cases[] = {
      {"", "[Settings]\nkey=new\n"},
      {"\xEF\xBB\xBF", "\xEF\xBB\xBF[Settings]\nkey=new\n"},
      {"[A]\nx=1", "[A]\nx=1\n[Settings]\nkey=new\n"},
      {"[settings]\n; note\nKEY = old \nz=1\n", "[settings]\n; note\nKEY = new\nz=1\n"},
      {"[Settings]\r\nkey=old\r\n\r\n[B]\r\n", "[Settings]\r\nkey=new\r\n\r\n[B]\r\n"},
      {"[Settings]\r\na=1\r\n\r\n[B]\r\nkey=b\r\n", "[Settings]\r\na=1\r\nkey=new\r\n\r\n[B]\r\nkey=b\r\n"},
      {"[Settings]", "[Settings]\nkey=new\n"},
      {"[Settings]\nkey=1\nkey=2\n[Settings]\nkey=3\n", "[Settings]\nkey=new\nkey=2\n[Settings]\nkey=3\n"},
      {"junk\n\n\n", "junk\n\n\n[Settings]\nkey=new\n"},
  };
  for (const auto& [before, after] : cases) {
    put(before);
    EXPECT_TRUE(write(u"key", u"new"));
    EXPECT_EQ(text(), after);
  }
}

TEST_F(ProfileTest, TextsAreUtf8AndThoseThatWouldBreakTheFileAreRefused) {
  EXPECT_TRUE(write(u"k\u00E4", u"\u20AC \U0001F600 \xD800", u"\u00DC"));
  const std::string written = "[\xC3\x9C]\nk\xC3\xA4=\xE2\x82\xAC \xF0\x9F\x98\x80 \xEF\xBF\xBD\n";
  EXPECT_FALSE(write(u"key", u"a\nb") || write(u"k=y", u"a") || write(u"[key", u"a") || write(u"key", u"a", u"x]\n[y"));
  EXPECT_FALSE(write(u"key", u"a", u" x") || write(u"key\t", u"a")) << "they would not be found again";
  EXPECT_EQ(text(), written);
}

TEST_F(ProfileTest, TheFileIsReplacedBehindItsLinkWithItsMode) {
  EXPECT_TRUE(write(u"key", u"1"));
  EXPECT_EQ(std::filesystem::status(file()).permissions() & std::filesystem::perms(0700), std::filesystem::perms(0600));
  std::filesystem::remove(file());
  const path real = directory_ / "real.ini";
  std::ofstream(real) << "[Settings]\n";
  std::filesystem::permissions(real, std::filesystem::perms(0600));
  std::filesystem::create_symlink(real, file());
  EXPECT_TRUE(write(u"key", u"1"));
  EXPECT_TRUE(std::filesystem::is_symlink(file()));
  EXPECT_EQ(read(u"key"), 1);
  EXPECT_EQ(std::filesystem::status(real).permissions(), std::filesystem::perms(0600));
}

TEST_F(ProfileTest, NamesLieInTheDirectoryAndPathsWhereTheySay) {
  const std::u16string there = path(directory_ / "sub/deep/other.ini").u16string();
  EXPECT_TRUE(write_profile_string(u"S", u"k", u"9", there));
  EXPECT_EQ(profile_int(u"S", u"k", 0, there), 9);
  EXPECT_FALSE(write_profile_string(u"S", u"k", u"9", u""));

  ::unsetenv("KESTRINE_PROFILE_DIR");
  ::setenv("XDG_CONFIG_HOME", (directory_ / "xdg").c_str(), 1);
  EXPECT_TRUE(write(u"key", u"1"));
  EXPECT_EQ(test::text_of(directory_ / "xdg/kestrine/Test.ini"), "[Settings]\nkey=1\n");
  ::unsetenv("XDG_CONFIG_HOME");
  ::setenv("HOME", (directory_ / "home").c_str(), 1);
  EXPECT_TRUE(write(u"key", u"2"));
  EXPECT_EQ(test::text_of(directory_ / "home/.config/kestrine/Test.ini"), "[Settings]\nkey=2\n");
}

TEST_F(ProfileTest, ProcessesWritingAtOnceLoseNothing) {
  constexpr int kKeys = 200;
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  bool written = true;
  for (int i = 0; i < kKeys; ++i) {
    written = written && write((child == 0 ? u"a" : u"b") + to_utf16(std::to_string(i)), u"5");
  }
  if (child == 0) ::_exit(written ? 0 : 1);
  int status = -1;
  ::waitpid(child, &status, 0);
  EXPECT_TRUE(written && status == 0);
  const std::string all = text();
  EXPECT_EQ(std::count(all.begin(), all.end(), '='), 2 * kKeys);
}

}  // namespace
}  // namespace kestrine::platform
