// Vectors of a whole cache line: which processors have them, and the mark of functions that use them. Such a function
// may be called on those only, and what it calls with vectors is to be inlined or marked, too.
#pragma once

#ifdef __x86_64__

#define KESTRINE_LINE_VECTORS gnu::target("avx512f")

namespace kestrine::detail {

inline bool has_line_vectors() {
  return __builtin_cpu_supports("avx512f");
}

}  // namespace kestrine::detail

#endif
