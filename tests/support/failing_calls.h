// The calls of the system that the library makes on the calling thread: counted, and any one of them made to fail.
// Linking this stands in front of the C library for the whole program, so a test that watches is a program of its own.
#pragma once

#include <cstddef>
#include <string_view>

namespace kestrine::test {

// Counts from zero from now on; of the calls of that name the nth, from 1 on, fails with the error.
void watch_calls(std::string_view failing = {}, std::size_t nth = 0, int error = 0);
void pause_watching(bool on);
// By this name, on the thread that watched last.
std::size_t calls_of(std::string_view name);
// Allocations are counted as well: operator new, and the texts and arrays that the library hands out.
inline constexpr const char* kAllocation = "_Znwm";
inline constexpr const char* kTextCopy = "_Z17SysAllocStringLenPKDsj";
inline constexpr const char* kArrayCreation = "_Z21SafeArrayCreateVectortij";

}  // namespace kestrine::test
