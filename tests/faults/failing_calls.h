// The calls of the system that the library makes, counted, and any one of them made to fail. Linking this puts itself
// in front of the C library for the whole program, so a test that watches is a program of its own.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>

namespace kestrine::test {

struct FailingCall {
  std::string_view name;
  std::size_t nth = 0;  // of the calls of that name, from 1 on; 0 for none
  int error = 0;
};

// Counts the calls of its own thread while it lives, but for those within a pause; one at a time in the process.
class CallWatch {
 public:
  explicit CallWatch(FailingCall failing = {});
  ~CallWatch();
  CallWatch(const CallWatch&) = delete;
  CallWatch& operator=(const CallWatch&) = delete;

  static void pause(bool on);
};

// Of the latest watch.
const std::map<std::string_view, std::size_t>& calls();
inline std::size_t calls_of(std::string_view name) {
  const auto found = calls().find(name);
  return found == calls().end() ? 0 : found->second;
}

}  // namespace kestrine::test
