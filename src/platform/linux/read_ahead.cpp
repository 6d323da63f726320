#include "platform/linux/read_ahead.h"

#include <sys/socket.h>
#include <sys/uio.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <utility>

namespace kestrine::platform {

template <typename Read>
ssize_t ReadAhead::ask(bool behind_bytes, Read read) {
  if (error_ != 0) {
    errno = behind_bytes ? error_ : std::exchange(error_, 0);
    return -1;
  }
  ssize_t got;
  do {
    got = read();
  } while (got < 0 && errno == EINTR);
  if (got < 0 && behind_bytes && errno != EAGAIN) error_ = errno;
  return got;
}

ssize_t ReadAhead::peek(int fd, void* into, std::size_t most, int flags) {
  most = std::min(most, kBytes);
  if (size() < most) {
    // What is held is an answer already; only without any may a blocking socket wait.
    const ssize_t got = fill(fd, most, size() > 0 ? MSG_DONTWAIT : flags);
    if (size() == 0) return got;
  }
  most = std::min(most, size());
  std::memcpy(into, bytes_.data() + begin_, most);
  return static_cast<ssize_t>(most);
}

ssize_t ReadAhead::take(int fd, void* into, std::size_t most, int flags) {
  const std::size_t had = std::min(most, size());
  std::memcpy(into, bytes_.data() + begin_, had);
  begin_ += had;
  ahead_ = most < kBytes ? kBytes : kBehindLarge;
  const std::size_t rest = most - had;
  if (rest == 0) return static_cast<ssize_t>(had);

  iovec places[] = {{static_cast<std::uint8_t*>(into) + had, rest}, {bytes_.data(), ahead_}};
  msghdr message{};
  message.msg_iov = places;
  message.msg_iovlen = std::size(places);
  const ssize_t got = ask(had > 0, [&] { return ::recvmsg(fd, &message, had > 0 ? MSG_DONTWAIT : flags); });
  if (got <= 0) return had > 0 ? static_cast<ssize_t>(had) : got;
  const std::size_t placed = std::min(rest, static_cast<std::size_t>(got));
  begin_ = 0;
  end_ = static_cast<std::size_t>(got) - placed;
  return static_cast<ssize_t>(had + placed);
}

ssize_t ReadAhead::fill(int fd, std::size_t wanted, int flags) {
  std::memmove(bytes_.data(), bytes_.data() + begin_, size());
  end_ -= std::exchange(begin_, 0);
  const std::size_t room = std::min(std::max(wanted, ahead_), kBytes) - end_;
  const ssize_t got = ask(size() > 0, [&] { return ::recv(fd, bytes_.data() + end_, room, flags); });
  if (got > 0) end_ += static_cast<std::size_t>(got);
  return got;
}

ssize_t ReadAhead::wait(int fd) {
  begin_ = end_ = 0;
  const ssize_t got = ::recv(fd, bytes_.data(), ahead_, 0);
  if (got > 0) end_ = static_cast<std::size_t>(got);
  if (got < 0 && errno != EAGAIN && errno != EINTR) error_ = errno;
  return got;
}

}  // namespace kestrine::platform
