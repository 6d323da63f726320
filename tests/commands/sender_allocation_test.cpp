// Counts the allocations and the calls of send() in the whole process, so it is a program of its own.
#include <sys/syscall.h>
#include <unistd.h>

#include "allocations.h"
#include "client_test.h"

namespace {
std::size_t sends = 0;
}  // namespace

// In place of the system's.
extern "C" [[gnu::visibility("default")]] ssize_t send(int socket, const void* from, std::size_t size, int flags) {
  ++sends;
  return syscall(SYS_sendto, socket, from, size, flags, nullptr, 0);
}

namespace kestrine::test {
namespace {

class SenderAllocationTest : public ClientTest {};

TEST_F(SenderAllocationTest, SendingIsOneCallAndAllocatesNothing) {
  start(kAsync);
  constexpr std::size_t kRequests = 7;
  const auto round = [&] {
    return async_commands->ReleaseMotors() | async_commands->SwitchLaser(VARIANT_TRUE) |
           async_commands->GoPosition(1.0, 2.0, 3.0, VARIANT_FALSE) |
           async_commands->SetTransformationInputParams(static_cast<VL_TransResultType>(1), 1, 2, 3, 4, 5, 6, 7, 8, 9,
                                                        10, 11, 12, 13, 14) |
           async_commands->MoveHV(500, -500) | async_commands->MoveLeft() | async_commands->MeasureStationaryPoint();
  };
  ASSERT_EQ(round(), S_OK);  // drops the synchronous object
  const std::size_t before = allocations();
  sends = 0;
  for (int i = 0; i < 100; ++i) ASSERT_EQ(round(), S_OK);
  EXPECT_GT(before, 0u);
  EXPECT_EQ(allocations(), before);
  EXPECT_EQ(sends, 100 * kRequests);
}

}  // namespace
}  // namespace kestrine::test
