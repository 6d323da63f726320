#include "allocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> count = 0;
std::atomic<std::size_t> freed = 0;
thread_local std::size_t left = 0;  // until the one that fails; 0 when none does
thread_local bool paused = false;
std::atomic<bool> failed = false;

void release(void* block) {
  if (block != nullptr) ++freed;
  std::free(block);
}

}  // namespace

void* operator new(std::size_t size) {
  if (kestrine::test::fails_now()) throw std::bad_alloc();
  ++count;
  if (void* block = std::malloc(size)) return block;
  throw std::bad_alloc();
}
void operator delete(void* block) noexcept {
  release(block);
}
void operator delete(void* block, std::size_t) noexcept {
  release(block);
}

namespace kestrine::test {

std::size_t allocations() {
  return count;
}

std::ptrdiff_t live_allocations() {
  return static_cast<std::ptrdiff_t>(count - freed);
}

void fail_allocation(std::size_t nth) {
  left = nth;
  failed = false;
}

void pause_failing(bool on) {
  paused = on;
}

bool fails_now() {
  if (paused || left == 0 || --left != 0) return false;
  return failed = true;
}

bool has_allocation_failed() {
  return failed;
}

}  // namespace kestrine::test
