// A source of bytes that says exactly what it is told to.
#pragma once

#include <algorithm>
#include <deque>
#include <string>
#include <vector>

#include "connection/packet_reader.h"
#include "kestrine/text.h"
#include "scripted_peer.h"

namespace kestrine::test {

using Lines = std::vector<std::string>;

inline constexpr int kWouldBlock = -1;
inline constexpr int kError = -2;
inline constexpr int kEnd = 0;

// What the next reads bring: bytes, no more than so many at a time, or an outcome without any, so many times over.
struct Step {
  Bytes bytes = {};
  std::size_t most = 1'000'000;
  int outcome = 1;
  int times = 1;
  bool peek_only = false;
};
using Script = std::deque<Step>;

inline Step none(int outcome, int times = 1) {
  return {.outcome = outcome, .times = times};
}
// Bytes that a peek sees and no read gets.
inline Step seen(const Bytes& bytes) {
  return {.bytes = bytes, .peek_only = true};
}

class FakeSource final : public connection::ByteSource {
 public:
  bool is_open() const override { return open; }
  int receive(void* into, int bytes, bool peek) override {
    (peek ? peeks : reads).push_back(bytes);
    if (script.empty()) {
      last_outcome_ = kWouldBlock;
      return endless ? std::min(bytes, 1) : -1;
    }
    Step& step = script.front();
    last_outcome_ = step.outcome;
    const std::size_t count = std::min({step.bytes.size(), step.most, static_cast<std::size_t>(bytes)});
    std::copy_n(step.bytes.begin(), count, static_cast<std::uint8_t*>(into));
    if (step.peek_only || !peek) {
      step.bytes.erase(step.bytes.begin(), step.bytes.begin() + static_cast<std::ptrdiff_t>(count));
    }
    if (step.bytes.empty() && --step.times == 0) script.pop_front();
    return last_outcome_ < 0 ? -1 : static_cast<int>(count);
  }
  bool would_block() const override { return last_outcome_ == kWouldBlock; }
  bool comes_later(int) override { return leaves_parts; }
  bool nap(std::int32_t milliseconds) override {
    longest_nap = std::max(longest_nap, milliseconds);
    ++naps;
    return patience < 0 || naps < patience;
  }
  void beep(std::uint32_t hertz, std::uint32_t milliseconds) override {
    signs.push_back("beep " + std::to_string(hertz) + " " + std::to_string(milliseconds));
  }
  void trace(std::u16string_view key, std::u16string_view text) override {
    signs.push_back(to_utf8(key) + " " + to_utf8(text));
  }

  Script script;
  std::vector<int> peeks;
  std::vector<int> reads;
  int naps = 0;
  std::int32_t longest_nap = 0;
  int patience = -1;  // naps until the wait is given up
  bool leaves_parts = false;
  bool open = true;
  bool endless = false;  // a byte for every read once the script is over
  Lines signs;

 private:
  int last_outcome_ = kWouldBlock;
};

}  // namespace kestrine::test
