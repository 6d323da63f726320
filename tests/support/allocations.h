// How often the process has allocated so far, and any allocation made to fail. Linking this replaces the allocation of
// the whole program, so a test that counts is a program of its own.
#pragma once

#include <cstddef>

namespace kestrine::test {

std::size_t allocations();
// Those that have not been freed.
std::size_t live_allocations();

// Of the calling thread's allocations from now on the nth fails, but for those in a pause; 0 for none.
void fail_allocation(std::size_t nth);
void pause_failing(bool on);
// How many allocations there still are before the one that fails; 0 once it has.
std::size_t left_to_fail();

}  // namespace kestrine::test
