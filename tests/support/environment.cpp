#include "environment.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <fstream>
#include <iterator>

#include "kestrine/error.h"
#include "kestrine/host.h"
#include "platform/profile.h"

namespace kestrine::test {

bool pump_until(const std::function<bool()>& condition, std::chrono::milliseconds patience) {
  const auto deadline = std::chrono::steady_clock::now() + patience;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    host::run_for(std::chrono::milliseconds(2));
  }
  return true;
}

std::string text_of(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

Environment::Environment() {
  std::string name = (std::filesystem::temp_directory_path() / "kestrine-test-XXXXXX").string();
  EXPECT_NE(::mkdtemp(name.data()), nullptr);
  directory_ = name;
  ::setenv("KESTRINE_PROFILE_DIR", name.c_str(), 1);
  host::set_beep_hook([this](std::uint32_t hertz, std::uint32_t time) { beeps.emplace_back(hertz, time); });
  host::set_message_box_hook(
      [this](const std::u16string& text, const std::u16string&, std::uint32_t) { message_boxes.push_back(text); });
}

Environment::~Environment() {
  host::set_message_box_hook({});
  host::set_beep_hook({});
  ::unsetenv("KESTRINE_PROFILE_DIR");
  std::error_code ignored;
  std::filesystem::remove_all(directory_, ignored);
}

void Environment::set(std::u16string_view key, std::int32_t value, std::u16string_view section) {
  const std::string digits = std::to_string(value);
  const std::u16string text(digits.begin(), digits.end());
  EXPECT_TRUE(platform::write_profile_string(section, key, text, u"Kestrine.ini"));
}

std::string Environment::traces() const {
  const std::string text = text_of(directory_ / "Kestrine.ini");
  const std::string_view title = "[SocketError]\n";
  const std::size_t at = text.find(title);
  return at == text.npos ? "" : text.substr(at + title.size());
}

}  // namespace kestrine::test
