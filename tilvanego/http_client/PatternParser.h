#pragma once

#include <bitset>
#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>
#include <vector>

namespace tilvanego::detail {

/// Which of the ASCII characters.
using CharacterSet = std::bitset<128>;

/// A regular expression as a graph: a text holds a match if a walk along the edges leads from `start` to a
/// `found` node, each `characters` node taking one character of the text.
struct PatternGraph {
  using Index = std::uint16_t;
  static constexpr Index none = std::numeric_limits<Index>::max();

  enum class Kind : std::uint8_t {
    empty,       ///< passed at any time
    characters,  ///< takes one character of a set
    atStart,     ///< passed at the start of the text
    atEnd,       ///< passed at its end, and before a line end that it ends with
    found,
  };
  struct Node {
    Kind kind = Kind::empty;
    /// The index of the set.
    Index characters = none;
    Index next = none;
    Index other = none;
  };

  std::vector<Node> nodes;
  std::vector<CharacterSet> sets;
  Index start = 0;
};

/// The graph of a valid pattern of ICU's syntax, searched without regard to case in texts of ASCII characters
/// alone, where it finds exactly what ICU finds. None for patterns that this doesn't know: with anything but
/// ASCII characters, classes that aren't negated, `\d`, `\w`, `\s`, `.`, groups, alternatives, repetitions of
/// what isn't empty, `^` and `$`; and for very large ones.
[[nodiscard]] std::optional<PatternGraph> parsePattern(std::string_view pattern);

}  // namespace tilvanego::detail
