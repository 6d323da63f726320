#include "allocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<std::size_t> count = 0;
}

void* operator new(std::size_t size) {
  ++count;
  if (void* block = std::malloc(size)) return block;
  throw std::bad_alloc();
}
void operator delete(void* block) noexcept {
  std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
  std::free(block);
}

namespace kestrine::test {

std::size_t allocations() {
  return count;
}

}  // namespace kestrine::test
