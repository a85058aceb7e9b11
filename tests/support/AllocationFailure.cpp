#include "tests/support/AllocationFailure.h"

#include <cstdlib>
#include <new>

namespace {

constexpr std::size_t never = static_cast<std::size_t>(-1);
thread_local std::size_t left = never;
thread_local bool came = false;

}  // namespace

namespace tilvanego::test {

AllocationFailure::AllocationFailure(std::size_t passed) {
  left = passed;
  came = false;
}
AllocationFailure::~AllocationFailure() { left = never; }
bool AllocationFailure::hasCome() const { return came; }

}  // namespace tilvanego::test

// The array forms call these. They stand apart from the tests, or g++ would inline one of a pair and warn of
// a mismatch.
void* operator new(std::size_t size) {
  if (left != never && left-- == 0) {
    came = true;
    left = never;
    throw std::bad_alloc();
  }
  if (void* const memory = std::malloc(size == 0 ? 1 : size)) return memory;
  throw std::bad_alloc();
}

void operator delete(void* memory) noexcept { std::free(memory); }

void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
