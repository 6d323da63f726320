// A descriptor of the kernel's that closes itself, and is not there in a forked child.
#pragma once

#include <unistd.h>

#include <utility>

#include "platform/linux/fork.h"

namespace kestrine::platform {

class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int fd) { adopt(fd); }
  ~Descriptor() {
    if (!valid()) return;
    no_longer_keep_from_children(fd_);
    ::close(fd_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int get() const { return fd_; }
  bool valid() const { return fd_ >= 0; }
  // For a descriptor that is made later than its holder; only while it is not valid.
  void adopt(int fd) {
    fd_ = fd;
    keep_from_children(fd);
  }
  void swap(Descriptor& other) { std::swap(fd_, other.fd_); }

 private:
  int fd_ = -1;
};

}  // namespace kestrine::platform
