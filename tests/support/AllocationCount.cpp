#include "tests/support/AllocationCount.h"

#include <atomic>
#include <cstdlib>
#include <new>
#include <utility>

namespace {

std::atomic<std::size_t> allocations = 0;
std::atomic<std::size_t> bytes = 0;
thread_local std::size_t untilFailure = 0;

}  // namespace

std::size_t tilvanego::test::allocationCount() { return allocations; }

std::size_t tilvanego::test::allocatedBytes() { return bytes; }

std::size_t tilvanego::test::failAllocation(std::size_t number) {
  return std::exchange(untilFailure, number);
}

// The array forms call these. They stand apart from the tests, or g++ would inline one of a pair and warn of
// a mismatch.
void* operator new(std::size_t size) {
  ++allocations;
  bytes += size;
  if (untilFailure > 0 && --untilFailure == 0) throw std::bad_alloc();
  if (void* const memory = std::malloc(size == 0 ? 1 : size)) return memory;
  throw std::bad_alloc();
}

void operator delete(void* memory) noexcept { std::free(memory); }

void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
