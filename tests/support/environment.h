// What a test of the library stands in: a settings file of its own, recorded notices, waits with a deadline.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kestrine::test {

// Delivers messages until the condition holds; false when it does not in time.
bool pump_until(const std::function<bool()>& condition,
                std::chrono::milliseconds patience = std::chrono::milliseconds(5000));

std::string text_of(const std::filesystem::path& file);

// For the life of one test; ends with the hooks at their defaults.
class Environment {
 public:
  Environment();
  ~Environment();
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

  const std::filesystem::path& directory() const { return directory_; }  // of its own, gone with it
  // In Kestrine.ini.
  void set(std::u16string_view key, std::int32_t value, std::u16string_view section = u"Settings");
  // What section SocketError holds, the last in the file.
  std::string traces() const;

  using Beep = std::pair<std::uint32_t, std::uint32_t>;  // hertz, milliseconds
  std::vector<Beep> beeps;
  std::vector<std::u16string> message_boxes;

 private:
  std::filesystem::path directory_;
};

}  // namespace kestrine::test
