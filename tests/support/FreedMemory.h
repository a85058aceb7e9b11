#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace tilvanego::test {

/// Looks through every block of memory that the program gives back, as long as this lives. Works only in
/// programs that are built with FreedMemory.cpp, which replaces what gives memory back: by any library and by
/// the C functions too, but under a sanitizer by C++ alone. One at a time.
class FreedMemoryWatch {
 public:
  /// What isn't to be found: at most eight texts of at most 32 bytes. They are copied.
  explicit FreedMemoryWatch(std::initializer_list<std::string_view> secrets);
  ~FreedMemoryWatch();
  FreedMemoryWatch(const FreedMemoryWatch&) = delete;
  FreedMemoryWatch& operator=(const FreedMemoryWatch&) = delete;

  /// The first block that held one of them, or what lay around it; empty if none did.
  [[nodiscard]] static std::string found();
};

}  // namespace tilvanego::test
