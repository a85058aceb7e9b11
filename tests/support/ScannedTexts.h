#pragma once

#include <random>
#include <string_view>
#include <vector>

namespace tilvanego::test {

/// Calls `check` with texts of 0 to 70 bytes at all alignments to a block: letters, but for one or a
/// few other bytes, the first of them at each place. A text ends its memory, so that a sanitizer sees who
/// reads beyond it.
template <typename Check>
void forScannedTexts(Check check) {
  constexpr std::string_view special = "\"\\/%%%=& \n\t\x1F\x7F\x80\xBF\xC3\xA9\xFF";
  std::minstd_rand random(7);
  for (std::size_t alignment = 0; alignment < 16; ++alignment) {
    for (std::size_t length = 0; length <= 70; ++length) {
      for (std::size_t first = 0; first <= length; ++first) {
        std::vector<char> memory(alignment + length, 'b');
        const std::size_t step = 1 + random() % 40;
        for (std::size_t at = alignment + first; at < memory.size(); at += step) {
          memory[at] = random() % 4 == 0 ? static_cast<char>(random()) : special[random() % special.size()];
        }
        check(std::string_view(memory.data() + alignment, length));
      }
    }
  }
}

}  // namespace tilvanego::test
