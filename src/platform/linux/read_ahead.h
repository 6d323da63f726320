// What one socket has received ahead of whoever reads it: one system call for hundreds of small packets.
#pragma once

#include <sys/types.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace kestrine::platform {

// To its readers it is the socket's receive queue: what is held here comes before what the kernel has, and an error or
// the peer's end comes behind both.
class ReadAhead {
 public:
  static constexpr std::size_t kBytes = 24 * 1024;

  std::size_t size() const { return end_ - begin_; }

  // As recv(2), to which `fd` and `flags` belong; of a failure errno tells the reason. Looks at no more than kBytes.
  ssize_t peek(int fd, void* into, std::size_t most, int flags);
  ssize_t take(int fd, void* into, std::size_t most, int flags);
  // One more read from the kernel, where fewer than `wanted` (at most kBytes) are held. What came, 0 at the peer's end,
  // or -1.
  ssize_t fill(int fd, std::size_t wanted, int flags);
  // Waits for the first bytes, as long as the socket says or until a signal handler has run. As fill().
  ssize_t wait(int fd);

 private:
  // Behind a large packet only the next header is read ahead: the rest goes straight to its place.
  static constexpr std::size_t kBehindLarge = 64;

  // The kernel's answer to a read. A failure behind bytes that are still to be read is kept for whoever asks after
  // them.
  template <typename Read>
  ssize_t ask(bool behind_bytes, Read read);

  std::size_t begin_ = 0;
  std::size_t end_ = 0;
  std::size_t ahead_ = kBytes;  // how much is read beyond what is asked for
  int error_ = 0;               // what the kernel said while bytes that came before were still held
  std::array<std::uint8_t, kBytes> bytes_;
};

}  // namespace kestrine::platform
