#include "failing_calls.h"

#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <new>

namespace kestrine::test {
namespace {

thread_local bool watched = false;
std::string_view failing_name;
std::size_t failing_nth = 0;
int failing_error = 0;

struct Count {
  std::string_view name;
  std::size_t calls = 0;
};
std::array<Count, 64> counts;  // allocates nothing, as allocations are counted, too

std::size_t& count_of(std::string_view name) {
  const auto at =
      std::ranges::find_if(counts, [=](const Count& each) { return each.name.empty() || each.name == name; });
  at->name = name;
  return at->calls;
}

using Call = long (*)(long, long, long, long, long, long);

// What the call is to fail with; 0 when it is to be made.
int failure_of(std::string_view name) {
  if (!watched) return 0;
  return ++count_of(name) == failing_nth && name == failing_name ? failing_error : 0;
}

}  // namespace

void watch_calls(std::string_view failing, std::size_t nth, int error) {
  failing_name = failing;
  failing_nth = nth;
  failing_error = error;
  counts.fill({});
  watched = true;
}

void pause_watching(bool on) {
  watched = !on;
}

std::size_t calls_of(std::string_view name) {
  return count_of(name);
}

}  // namespace kestrine::test

// The arguments of all of these are words in registers, so one shape passes them on.
#define IN_PLACE_OF(name, failure)                                                                              \
  extern "C" [[gnu::visibility("default")]] long watched_##name(long, long, long, long, long, long) asm(#name); \
  long watched_##name(long a, long b, long c, long d, long e, long f) {                                         \
    static const auto real = reinterpret_cast<kestrine::test::Call>(::dlsym(RTLD_NEXT, #name));                 \
    const int error = kestrine::test::failure_of(#name);                                                        \
    return error == 0 ? real(a, b, c, d, e, f) : (failure);                                                     \
  }
#define FAILS(name) IN_PLACE_OF(name, (errno = error, -1))
#define RETURNS_ITS_ERROR(name) IN_PLACE_OF(name, error)
// Linux frees the descriptor whatever it returns.
#define FAILS_WHEN_DONE(name) IN_PLACE_OF(name, (real(a, b, c, d, e, f), errno = error, -1))
#define CALLS(fails, returns_its_error, fails_when_done)                                                               \
  fails(socket) fails(connect) fails(shutdown) fails(send) fails(recv) fails(readv) fails(recvmsg) fails(getsockopt)   \
      fails(setsockopt) fails(getpeername) fails(ioctl) fails(fcntl) fails(poll) fails(epoll_create1) fails(epoll_ctl) \
          fails(epoll_wait) fails(eventfd) fails(timerfd_create) fails(open) fails(fstat) fails(read) fails(write)     \
              fails(fchmod) fails(fsync) fails(flock) fails(rename) fails(unlink) fails(mkdir)                         \
                  returns_its_error(getaddrinfo) returns_its_error(clock_nanosleep) returns_its_error(pthread_create)  \
                      fails_when_done(close)
IN_PLACE_OF(_Znwm, (throw std::bad_alloc(), 0))
IN_PLACE_OF(_Z17SysAllocStringLenPKDsj, 0)
IN_PLACE_OF(_Z21SafeArrayCreateVectortij, 0)
CALLS(FAILS, RETURNS_ITS_ERROR, FAILS_WHEN_DONE)
