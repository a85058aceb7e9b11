#pragma once

#include <tilvanego/http_client/PatternParser.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string_view>
#include <vector>

namespace tilvanego::detail {

/// Searches ASCII texts for a pattern in one pass, at a table look-up for each character and with no way
/// back: the time goes with the text's length, whatever the pattern. The table is filled while texts are
/// searched, so an object is for one thread at a time.
class PatternAutomaton {
 public:
  enum class Answer { found, notFound, unknown };

  explicit PatternAutomaton(PatternGraph graph);

  /// Unknown if the text isn't ASCII as far as it matters, or if the table would become too large.
  [[nodiscard]] Answer search(std::string_view text);

 private:
  using Index = PatternGraph::Index;
  /// Where a state's row begins in the table, or one of the negative values below.
  using State = std::int32_t;
  /// The nodes at which the walks through the graph stand, in ascending order.
  using Places = std::vector<Index>;

  static constexpr State notYet = -1;
  static constexpr State found = -2;
  static constexpr State lost = -3;
  static constexpr State beyondASCII = -4;
  static constexpr State tooMany = -5;

  void divideCharacters();
  [[nodiscard]] Places reachable(const Places& from, bool isAtStart, bool isAtEnd) const;
  State stateAt(Places places);
  State startState(bool isAtEnd);
  State stateAfter(State state, unsigned char character);
  State stateAtEnd(State state);
  [[nodiscard]] const Places& placesOf(State state) const;
  State run(State state, std::string_view text);

  PatternGraph graph_;
  /// Characters between which no set of the pattern tells have the same class; the last is of all that isn't
  /// ASCII.
  std::array<std::uint8_t, 256> classes_{};
  std::size_t classCount_ = 0;
  std::map<Places, State> states_;
  std::vector<const Places*> places_;
  /// A row for each state: the states after each class, and then the state at the end of the text.
  std::vector<State> table_;
  std::array<State, 2> starts_{notYet, notYet};
};

}  // namespace tilvanego::detail
