// The thread that something belongs to, and whether the call at hand comes from there. A thread of a forked child is
// another one than any of its parent's.
#pragma once

#include <cstdint>

#include "kestrine/export.h"

namespace kestrine::platform {

// 0 until somebody asks for it. Read for every call of every object, and so where a single instruction finds it.
[[gnu::tls_model("initial-exec")]] KESTRINE_HOST_API extern constinit thread_local std::uint64_t thread_number;
KESTRINE_HOST_API std::uint64_t number_thread();

// The calling thread's number, which no other thread gets later on, nor one of a forked child.
inline std::uint64_t this_thread() {
  return thread_number != 0 ? thread_number : number_thread();
}

// The thread that it was made on.
class Home {
 public:
  Home() : thread_(this_thread()) {}
  bool is_here() const { return thread_ == thread_number; }

 private:
  std::uint64_t thread_;
};

// The forks between the process that loaded the library and this one: a forked child finds more of them.
KESTRINE_HOST_API std::uint32_t forks();

}  // namespace kestrine::platform
