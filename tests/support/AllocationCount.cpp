#include "tests/support/AllocationCount.h"

#include <atomic>
#include <cstdlib>
#include <new>
#include <utility>

#include <malloc.h>

namespace {

std::atomic<std::size_t> allocations = 0;
std::atomic<std::size_t> bytes = 0;
thread_local std::size_t untilFailure = 0;
thread_local std::size_t failuresLeft = 0;
std::atomic<std::size_t> live = 0;
std::atomic<std::size_t> peak = 0;

void countEnd(void* memory) {
  if (memory != nullptr) live -= malloc_usable_size(memory);
}

}  // namespace

std::size_t tilvanego::test::allocationCount() { return allocations; }

std::size_t tilvanego::test::allocatedBytes() { return bytes; }

std::size_t tilvanego::test::failAllocation(std::size_t number, std::size_t inARow) {
  failuresLeft = number > 0 ? inARow : 0;
  return std::exchange(untilFailure, number);
}

std::size_t tilvanego::test::liveBytes() { return live; }

std::size_t tilvanego::test::peakBytes() { return peak; }

void tilvanego::test::forgetPeakBytes() { peak = live.load(); }

// The array forms call these. They stand apart from the tests, or g++ would inline one of a pair and warn of
// a mismatch.
void* operator new(std::size_t size) {
  ++allocations;
  bytes += size;
  if (untilFailure > 0) --untilFailure;
  if (untilFailure == 0 && failuresLeft > 0) {
    --failuresLeft;
    throw std::bad_alloc();
  }
  void* const memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  const std::size_t now = live += malloc_usable_size(memory);
  for (std::size_t former = peak; former < now && !peak.compare_exchange_weak(former, now);) {
  }
  return memory;
}

// A sanitizer's own would not fit the deletes below.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept try {
  return operator new(size);
} catch (const std::bad_alloc&) {
  return nullptr;
}

void operator delete(void* memory) noexcept {
  countEnd(memory);
  std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
  countEnd(memory);
  std::free(memory);
}
