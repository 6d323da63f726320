// How often the process has allocated so far, and allocations made to fail. Linking this replaces the allocation of the
// whole program, so a test that counts is a program of its own.
#pragma once

#include <cstddef>

namespace kestrine::test {

std::size_t allocations();
// Blocks that have not been freed yet.
std::ptrdiff_t live_allocations();

// The nth allocation of the calling thread from now on fails, once, but for those within a pause.
void fail_allocation(std::size_t nth);
void pause_failing(bool on);
bool has_allocation_failed();
// Whether the one at hand has to fail, for those that are not made by operator new.
bool fails_now();

}  // namespace kestrine::test
