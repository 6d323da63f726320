#include <dlfcn.h>
#include <gtest/gtest.h>

#include "allocations.h"
#include "whole_run.h"

// In place of the library's: texts and arrays that it hands out are not made by operator new.
BSTR SysAllocStringLen(const OLECHAR* text, UINT length) {
  static const auto real =
      reinterpret_cast<decltype(&SysAllocStringLen)>(::dlsym(RTLD_NEXT, "_Z17SysAllocStringLenPKDsj"));
  return kestrine::test::fails_now() ? nullptr : real(text, length);
}
SAFEARRAY* SafeArrayCreateVector(VARTYPE type, LONG first, ULONG count) {
  static const auto real =
      reinterpret_cast<decltype(&SafeArrayCreateVector)>(::dlsym(RTLD_NEXT, "_Z21SafeArrayCreateVectortij"));
  return kestrine::test::fails_now() ? nullptr : real(type, first, count);
}

namespace kestrine::test {
namespace {

class FailingAllocations : public testing::TestWithParam<connection::Rules> {
 protected:
  std::string run(std::size_t nth) {
    std::string told;
    told.reserve(1000);
    const std::ptrdiff_t before = live_allocations();
    {
      WholeRun whole(environment_, GetParam(), "127.0.0.1");
      whole.on_thread(
          [nth](const std::function<void()>& use) {
            fail_allocation(nth);
            use();
          },
          &pause_failing);
      told = whole.failures;
    }
    environment_.beeps = decltype(environment_.beeps)();
    environment_.message_boxes = decltype(environment_.message_boxes)();
    leaked_ = live_allocations() - before;
    return told;
  }

  Environment environment_;
  std::ptrdiff_t leaked_ = 0;
};

TEST_P(FailingAllocations, EachIsToldOrGotOverAndTheNextRunWorks) {
  environment_.set(u"NonblockingConnect", 0);
  EXPECT_EQ(run(0), "");
  for (std::size_t nth = 1; nth == 1 || has_allocation_failed(); ++nth) {
    SCOPED_TRACE("allocation " + std::to_string(nth));
    const std::string told = run(nth);
    EXPECT_EQ(told.find("no "), told.npos) << told;
    EXPECT_EQ(leaked_, 0) << told;
    std::printf("%zu %s\n", nth, told.c_str());
  }
  EXPECT_EQ(run(0), "");
}

INSTANTIATE_TEST_SUITE_P(Rules, FailingAllocations,
                         testing::Values(connection::kModernRules, connection::Rules{.wakes_when_due = true}));

}  // namespace
}  // namespace kestrine::test
