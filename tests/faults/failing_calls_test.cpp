#include "failing_calls.h"

#include <gtest/gtest.h>
#include <netdb.h>

#include <cerrno>
#include <filesystem>
#include <vector>

#include "whole_run.h"

namespace kestrine::test {
namespace {

using Errors = std::vector<int>;

// What each call can fail with while the library does nothing wrong itself.
const std::pair<const char*, Errors> kErrors[] = {
    {"socket", {EMFILE, ENFILE, ENOBUFS, ENOMEM, EACCES, EAFNOSUPPORT}},
    {"connect", {ECONNREFUSED, ENETUNREACH, EHOSTUNREACH, ETIMEDOUT, EADDRNOTAVAIL, EACCES, EAGAIN}},
    {"shutdown", {ENOTCONN}},
    {"close", {EINTR, EIO}},
    {"send", {ECONNRESET, EPIPE, ENOBUFS, ENOMEM, EAGAIN, EINTR}},
    {"recv", {ECONNRESET, ETIMEDOUT, EHOSTUNREACH, ENOMEM, EAGAIN, EINTR}},
    {"readv", {ECONNRESET, ETIMEDOUT, EHOSTUNREACH, ENOMEM, EAGAIN, EINTR}},
    {"recvmsg", {ECONNRESET, ETIMEDOUT, EHOSTUNREACH, ENOMEM, EAGAIN, EINTR}},
    {"getsockopt", {ENOBUFS, ENOMEM}},
    {"setsockopt", {ENOBUFS, ENOMEM}},
    {"getpeername", {ENOBUFS, ENOTCONN}},
    {"ioctl", {ENOMEM}},
    {"fcntl", {ENOMEM, EMFILE}},
    {"poll", {ENOMEM, EINTR}},
    {"epoll_create1", {EMFILE, ENFILE, ENOMEM}},
    {"epoll_ctl", {ENOMEM, ENOSPC}},
    {"epoll_wait", {EINTR}},
    {"eventfd", {EMFILE, ENFILE, ENOMEM, ENODEV}},
    {"timerfd_create", {EMFILE, ENFILE, ENOMEM, ENODEV}},
    {"open", {EACCES, EMFILE, ENFILE, ENOSPC, EROFS, EINTR, ENOMEM}},
    {"fstat", {ENOMEM, EOVERFLOW}},
    {"read", {EIO, EISDIR, EINTR}},
    {"write", {ENOSPC, EDQUOT, EIO, EFBIG, EINTR}},
    {"fchmod", {EPERM, EROFS, EIO}},
    {"fsync", {EIO, ENOSPC, EDQUOT}},
    {"flock", {ENOLCK, EINTR}},
    {"rename", {EACCES, EXDEV, ENOSPC, EROFS, EIO}},
    {"unlink", {EACCES, EROFS}},
    {"mkdir", {EACCES, ENOSPC}},
    {"clock_nanosleep", {EINTR}},
    {"pthread_create", {EAGAIN}},
    {"getaddrinfo", {EAI_AGAIN, EAI_FAIL, EAI_MEMORY, EAI_NONAME, EAI_SYSTEM}},
};

struct Setup {
  const char* what;
  connection::Rules rules;
  const char* host;
  int nonblocking;
};

class FailingCalls : public testing::TestWithParam<Setup> {
 protected:
  std::string run(FailingCall failing) {
    environment_.beeps.clear();
    WholeRun whole(environment_, GetParam().rules, GetParam().host);
    whole.on_thread(
        [&](const std::function<void()>& use) {
          const CallWatch watch(failing);
          use();
        },
        &CallWatch::pause);
    return whole.failures;
  }
  static std::ptrdiff_t descriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
  }

  Environment environment_;
};

TEST_P(FailingCalls, EachIsToldOrGotOverAndTheNextRunWorks) {
  environment_.set(u"NonblockingConnect", GetParam().nonblocking);
  EXPECT_EQ(run({}), "");
  EXPECT_EQ(environment_.trace_keys(), std::vector<std::string>{"recv4"});
  const auto counted = calls();
  const std::ptrdiff_t before = descriptors();
  for (const auto& [name, errors] : kErrors) {
    const auto found = counted.find(name);
    for (std::size_t nth = 1; found != counted.end() && nth <= found->second; ++nth) {
      for (const int error : errors) {
        SCOPED_TRACE(std::string(name) + " " + std::to_string(nth) + " error " + std::to_string(error));
        const std::string told = run({name, nth, error});
        EXPECT_EQ(told.find("no "), told.npos) << told;
        EXPECT_EQ(run({}), "");
        EXPECT_EQ(descriptors(), before);
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Setups, FailingCalls,
                         testing::Values(Setup{"modern", connection::kModernRules, "localhost", 1},
                                         Setup{"classic", {.wakes_when_due = true}, "127.0.0.1", 0},
                                         Setup{"waiting", {.wakes_when_due = true}, "localhost", 1}),
                         [](const auto& setup) { return setup.param.what; });

}  // namespace
}  // namespace kestrine::test
