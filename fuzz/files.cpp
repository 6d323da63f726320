// Settings and lists of registered classes: files of any content are read, edited and read back.
#include <fuzzer/FuzzedDataProvider.h>
#include <gtest/gtest.h>

#include <fstream>

#include "environment.h"
#include "kestrine/text.h"
#include "platform/profile.h"
#include "platform/registry.h"

namespace {

using namespace kestrine;
using platform::RegistryEdit, platform::RegistryText;

void edit_settings(const std::u16string& section, const std::u16string& key, const std::string& content) {
  static const test::Environment environment;
  const auto read = [&](std::u16string_view name) { return platform::profile_int(section, name, -1, u"Kestrine.ini"); };
  std::ofstream(environment.directory() / "Kestrine.ini", std::ios::binary) << content;
  const std::int32_t before = read(u"Other");
  if (!platform::write_profile_string(section, key, u"4711", u"Kestrine.ini")) return;
  EXPECT_EQ(read(key), 4711);
  EXPECT_TRUE(detail::same_name(key, u"Other") || read(u"Other") == before);
}

void edit_classes(const std::u16string& key, const std::u16string& name, const std::string& content) {
  std::size_t bad_line = 0;
  auto text = RegistryText::parse(content, bad_line);
  if (!text) return;
  const auto reread = [&] { return RegistryText::parse(text->text(), bad_line).value(); };
  EXPECT_EQ(reread().text(), text->text());
  if (text->apply({RegistryEdit::Kind::kSetValue, key, name, u"4711"})) {
    EXPECT_EQ(reread().value(to_utf8(key), to_utf8(name)), "4711");
  }
  text->apply({RegistryEdit::Kind::kRemoveTree, key, {}, {}});
  EXPECT_FALSE(reread().value(to_utf8(key), to_utf8(name)) || !reread().subkeys(to_utf8(key)).empty());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  const auto edit = input.ConsumeBool() ? edit_classes : edit_settings;
  const std::u16string key = to_utf16(input.ConsumeRandomLengthString());
  const std::u16string name = to_utf16(input.ConsumeRandomLengthString());
  edit(key, name, input.ConsumeRemainingBytesAsString());
  return 0;
}
