#include "allocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<std::size_t> count = 0;
std::atomic<std::size_t> freed = 0;
std::atomic<std::size_t> left = 0;
thread_local bool fails = false;

void release(void* block) {
  if (block != nullptr) ++freed;
  std::free(block);
}
}  // namespace

void* operator new(std::size_t size) {
  if (fails && left != 0 && --left == 0) throw std::bad_alloc();
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

std::size_t live_allocations() {
  return count - freed;
}

void fail_allocation(std::size_t nth) {
  left = nth;
  fails = true;
}

void pause_failing(bool on) {
  fails = !on;
}

std::size_t left_to_fail() {
  return left;
}
}  // namespace kestrine::test
