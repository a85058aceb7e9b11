#pragma once

#include <cstddef>

namespace tilvanego::test {

/// How often this test program has called operator new so far, on any thread. Counts only in programs that
/// are built with AllocationCount.cpp, which replaces the global operators.
std::size_t allocationCount();

/// How many bytes it has asked for in all of these calls.
std::size_t allocatedBytes();

/// Has the calling thread's allocation fail that is so many on, counted from 1, and those after it, `inARow`
/// in all; 0: none. Gives how many were still to come before the former one.
std::size_t failAllocation(std::size_t number, std::size_t inARow = 1);
/// The bytes that are allocated now, as the allocator rounds them, and the most that ever were since the peak
/// was forgotten.
std::size_t liveBytes();
std::size_t peakBytes();
void forgetPeakBytes();

/// How many bytes more than before `action` has at once.
template <typename Action>
std::size_t peakBytesOf(Action action) {
  const std::size_t before = liveBytes();
  forgetPeakBytes();
  action();
  return peakBytes() - before;
}

/// How often `action` allocates.
template <typename Action>
std::size_t allocationsOf(Action action) {
  const std::size_t before = allocationCount();
  action();
  return allocationCount() - before;
}

}  // namespace tilvanego::test
