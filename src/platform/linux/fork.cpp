#include "platform/linux/fork.h"

#include <pthread.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <bit>
#include <cerrno>
#include <cstddef>
#include <cstdint>

#include "platform/home.h"
#include "platform/linux/socket_table.h"
#include "platform/linux/thread_loop.h"

namespace kestrine::platform {
namespace {

constexpr std::size_t kBits = 64;
// A bit for each descriptor, without a lock: another thread might hold one when the process forks.
std::array<std::atomic<std::uint64_t>, kMostDescriptors / kBits> kept;

std::atomic<std::uint64_t> last_thread = 0;
std::uint32_t fork_count = 0;  // only changes while there is but one thread

std::uint64_t bit_of(int fd) {
  return std::uint64_t{1} << (static_cast<std::size_t>(fd) % kBits);
}

bool has_bit(int fd) {
  return fd >= 0 && static_cast<std::size_t>(fd) < kMostDescriptors;
}

// On the only thread of the child, of which the others may have been anywhere: no lock may be taken here, nor memory.
void leave_parent_behind() {
  const int before = errno;
  for (std::size_t word = 0; word < kept.size(); ++word) {
    if (kept[word] == 0) continue;
    for (std::uint64_t bits = kept[word].exchange(0); bits != 0; bits &= bits - 1) {
      const auto fd = static_cast<int>(word * kBits + static_cast<std::size_t>(std::countr_zero(bits)));
      ::close(fd);
      disown_socket(fd);
    }
  }
  ThreadLoop::abandon();
  thread_number = 0;
  ++fork_count;
  errno = before;
}

[[maybe_unused]] const int registered = ::pthread_atfork(nullptr, nullptr, &leave_parent_behind);

}  // namespace

constinit thread_local std::uint64_t thread_number = 0;

std::uint64_t number_thread() {
  return thread_number = ++last_thread;
}

std::uint32_t forks() {
  return fork_count;
}

void keep_from_children(int fd) {
  if (has_bit(fd)) kept[static_cast<std::size_t>(fd) / kBits] |= bit_of(fd);
}

void no_longer_keep_from_children(int fd) {
  if (has_bit(fd)) kept[static_cast<std::size_t>(fd) / kBits] &= ~bit_of(fd);
}

}  // namespace kestrine::platform
