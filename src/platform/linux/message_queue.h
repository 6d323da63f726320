// The messages of one thread in the order in which they became due.
#pragma once

#include <cstddef>
#include <vector>

#include "platform/loop.h"

namespace kestrine::platform {

// A ring that grows and never shrinks, so that the receive path allocates nothing once it has run for a while.
class MessageQueue {
 public:
  struct Entry {
    Message message;
    bool from_socket = false;  // a socket notification, as against a message that somebody posted
  };

  bool empty() const { return count_ == 0; }
  std::size_t size() const { return count_; }

  void push(const Entry& entry) {
    if (count_ == slots_.size()) grow();
    slots_[slot(count_++)] = entry;
  }

  Entry pop() {
    const Entry entry = slots_[first_];
    first_ = slot(1);
    --count_;
    return entry;
  }

  template <typename Predicate>
  void erase_if(Predicate gone) {
    std::size_t kept = 0;
    for (std::size_t i = 0; i < count_; ++i) {
      const Entry entry = slots_[slot(i)];
      if (!gone(entry)) slots_[slot(kept++)] = entry;
    }
    count_ = kept;
  }

 private:
  static constexpr std::size_t kInitialSlots = 64;

  // The capacity is a power of two.
  std::size_t slot(std::size_t offset) const { return (first_ + offset) & (slots_.size() - 1); }

  void grow() {
    std::vector<Entry> larger(slots_.size() * 2);
    for (std::size_t i = 0; i < count_; ++i) larger[i] = slots_[slot(i)];
    slots_.swap(larger);
    first_ = 0;
  }

  std::vector<Entry> slots_ = std::vector<Entry>(kInitialSlots);
  std::size_t first_ = 0;
  std::size_t count_ = 0;
};

}  // namespace kestrine::platform
