// How often the process has allocated so far. Linking this replaces the allocation of the whole program, so a test that
// counts is a program of its own.
#pragma once

#include <cstddef>

namespace kestrine::test {

std::size_t allocations();

}  // namespace kestrine::test
