#pragma once

#include <cstddef>

namespace tilvanego::test {

/// Fails one call of operator new on this thread while it lives: the one after `passed` others. Works only in
/// programs that are built with AllocationFailure.cpp, which replaces the global operators.
class AllocationFailure {
 public:
  explicit AllocationFailure(std::size_t passed);
  AllocationFailure(const AllocationFailure&) = delete;
  AllocationFailure& operator=(const AllocationFailure&) = delete;
  ~AllocationFailure();

  [[nodiscard]] bool hasCome() const;
};

}  // namespace tilvanego::test
