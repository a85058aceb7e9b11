#pragma once

// Functions for every fuzzer.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

/// Ends the program if the rule is broken, so that the input is kept.
inline void require(bool holds, const char* rule = "a rule") {
  if (holds) return;
  std::fprintf(stderr, "broken: %s\n", rule);
  std::abort();
}

/// An input ends its memory, from libFuzzer and as a seed: a sanitizer sees who reads beyond it.
inline std::string_view textOf(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}
