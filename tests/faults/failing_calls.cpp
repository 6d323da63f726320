#include "failing_calls.h"

#include <dlfcn.h>

#include <cerrno>

namespace kestrine::test {
namespace {

thread_local bool watched = false;
FailingCall failing_call;
std::map<std::string_view, std::size_t> counts;

using Word = long;
using Call = Word (*)(Word, Word, Word, Word, Word, Word);

// What the call is to fail with; 0 when it is to be made.
int failure_of(std::string_view name) {
  if (!watched) return 0;
  const bool fails = ++counts[name] == failing_call.nth && name == failing_call.name;
  return fails ? failing_call.error : 0;
}

}  // namespace

CallWatch::CallWatch(FailingCall failing) {
  counts.clear();
  failing_call = failing;
  watched = true;
}

CallWatch::~CallWatch() {
  watched = false;
}

void CallWatch::pause(bool on) {
  watched = !on;
}

const std::map<std::string_view, std::size_t>& calls() {
  return counts;
}

}  // namespace kestrine::test

// The arguments of all of these are words in registers, so one shape passes them on. A function that fails by -1 and
// errno, and one that returns its error, in the system's place:
#define IN_PLACE_OF(name, failure)                                                                              \
  extern "C" [[gnu::visibility("default")]] long watched_##name(long, long, long, long, long, long) asm(#name); \
  long watched_##name(long a, long b, long c, long d, long e, long f) {                                         \
    static const auto real = reinterpret_cast<kestrine::test::Call>(::dlsym(RTLD_NEXT, #name));                 \
    const int error = kestrine::test::failure_of(#name);                                                        \
    return error == 0 ? real(a, b, c, d, e, f) : (failure);                                                     \
  }
#define FAILS_BY_ERRNO(name) IN_PLACE_OF(name, (errno = error, -1))
#define RETURNS_ITS_ERROR(name) IN_PLACE_OF(name, error)

FAILS_BY_ERRNO(socket)
FAILS_BY_ERRNO(connect)
FAILS_BY_ERRNO(shutdown)
FAILS_BY_ERRNO(send)
FAILS_BY_ERRNO(recv)
FAILS_BY_ERRNO(readv)
FAILS_BY_ERRNO(recvmsg)
FAILS_BY_ERRNO(getsockopt)
FAILS_BY_ERRNO(setsockopt)
FAILS_BY_ERRNO(getpeername)
FAILS_BY_ERRNO(ioctl)
FAILS_BY_ERRNO(fcntl)
FAILS_BY_ERRNO(poll)
FAILS_BY_ERRNO(epoll_create1)
FAILS_BY_ERRNO(epoll_ctl)
FAILS_BY_ERRNO(epoll_wait)
FAILS_BY_ERRNO(eventfd)
FAILS_BY_ERRNO(eventfd_read)
FAILS_BY_ERRNO(eventfd_write)
FAILS_BY_ERRNO(timerfd_create)
FAILS_BY_ERRNO(timerfd_settime)
FAILS_BY_ERRNO(open)
FAILS_BY_ERRNO(fstat)
FAILS_BY_ERRNO(read)
FAILS_BY_ERRNO(write)
FAILS_BY_ERRNO(fchmod)
FAILS_BY_ERRNO(fsync)
FAILS_BY_ERRNO(flock)
FAILS_BY_ERRNO(rename)
FAILS_BY_ERRNO(unlink)
FAILS_BY_ERRNO(mkdir)
RETURNS_ITS_ERROR(getaddrinfo)
RETURNS_ITS_ERROR(clock_nanosleep)
RETURNS_ITS_ERROR(pthread_create)
// Linux frees the descriptor whatever it returns.
IN_PLACE_OF(close, (real(a, b, c, d, e, f), errno = error, -1))
