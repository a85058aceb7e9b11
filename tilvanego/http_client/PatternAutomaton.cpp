#include <tilvanego/http_client/PatternAutomaton.h>

#include <algorithm>
#include <string>
#include <utility>

namespace tilvanego::detail {
namespace {

using Kind = PatternGraph::Kind;

/// More aren't worth their memory; the patterns of the models need up to a hundred.
constexpr std::size_t mostStates = 1000;

/// Where "$" holds beside the very end: before the line end that the text ends with.
std::size_t placeBeforeLineEnd(std::string_view text) {
  if (text.ends_with("\r\n")) return text.size() - 2;
  if (!text.empty() && text.back() >= '\n' && text.back() <= '\r') return text.size() - 1;
  return text.size();
}

}  // namespace

PatternAutomaton::PatternAutomaton(PatternGraph graph) : graph_(std::move(graph)) { divideCharacters(); }

void PatternAutomaton::divideCharacters() {
  std::map<std::string, std::uint8_t> known;
  for (std::size_t c = 0; c < classes_.size() / 2; ++c) {
    std::string memberships;
    for (const CharacterSet& set : graph_.sets) memberships += set[c] ? '1' : '0';
    classes_[c] = known.try_emplace(memberships, static_cast<std::uint8_t>(known.size())).first->second;
  }
  std::fill(classes_.begin() + classes_.size() / 2, classes_.end(), static_cast<std::uint8_t>(known.size()));
  classCount_ = known.size() + 1;
}

PatternAutomaton::Places PatternAutomaton::reachable(const Places& from, bool isAtStart, bool isAtEnd) const {
  Places places;
  Places open = from;
  std::vector<bool> isSeen(graph_.nodes.size());
  while (!open.empty()) {
    const Index index = open.back();
    open.pop_back();
    if (index == PatternGraph::none || isSeen[index]) continue;
    isSeen[index] = true;
    const PatternGraph::Node& node = graph_.nodes[index];
    const bool isPassed = node.kind == Kind::empty || (node.kind == Kind::atStart && isAtStart) ||
                          (node.kind == Kind::atEnd && isAtEnd);
    if (isPassed) {
      open.push_back(node.next);
      open.push_back(node.other);
    } else if (node.kind != Kind::atStart) {
      places.push_back(index);
    }
  }
  std::ranges::sort(places);
  return places;
}

PatternAutomaton::State PatternAutomaton::stateAt(Places places) {
  if (places.empty()) return lost;
  if (std::ranges::any_of(places, [&](Index index) { return graph_.nodes[index].kind == Kind::found; })) {
    return found;
  }
  if (const auto known = states_.find(places); known != states_.end()) return known->second;
  if (states_.size() == mostStates) return tooMany;
  const auto state = static_cast<State>(table_.size());
  places_.push_back(&states_.emplace(std::move(places), state).first->first);
  table_.resize(table_.size() + classCount_ + 1, notYet);
  table_[static_cast<std::size_t>(state) + classCount_ - 1] = beyondASCII;
  return state;
}

const PatternAutomaton::Places& PatternAutomaton::placesOf(State state) const {
  return *places_[static_cast<std::size_t>(state) / (classCount_ + 1)];
}

PatternAutomaton::State PatternAutomaton::startState(bool isAtEnd) {
  State& state = starts_[isAtEnd ? 1 : 0];
  if (state == notYet) state = stateAt(reachable({graph_.start}, true, isAtEnd));
  return state;
}

PatternAutomaton::State PatternAutomaton::stateAfter(State state, unsigned char character) {
  const std::size_t entry = static_cast<std::size_t>(state) + classes_[character];
  // A match may begin behind any character.
  Places next = {graph_.start};
  for (const Index index : placesOf(state)) {
    const PatternGraph::Node& node = graph_.nodes[index];
    if (node.kind == Kind::characters && graph_.sets[node.characters][character]) next.push_back(node.next);
  }
  const State after = stateAt(reachable(next, false, false));  // may make the table grow
  table_[entry] = after;
  return after;
}

PatternAutomaton::State PatternAutomaton::stateAtEnd(State state) {
  const std::size_t entry = static_cast<std::size_t>(state) + classCount_;
  if (table_[entry] != notYet) return table_[entry];
  const State ended = stateAt(reachable(placesOf(state), false, true));  // may make the table grow
  table_[entry] = ended;
  return ended;
}

PatternAutomaton::State PatternAutomaton::run(State state, std::string_view text) {
  const auto* at = reinterpret_cast<const unsigned char*>(text.data());
  const auto* const end = at + text.size();
  while (state >= 0) {
    // Where the state stays the same, no look-up waits for the one before it.
    const State* const row = table_.data() + state;
    while (at != end && row[classes_[*at]] == state) ++at;
    if (at == end) break;
    const State next = row[classes_[*at]];
    state = next != notYet ? next : stateAfter(state, *at);
    ++at;
  }
  return state;
}

PatternAutomaton::Answer PatternAutomaton::search(std::string_view text) {
  const std::size_t lineEnd = placeBeforeLineEnd(text);
  State state = startState(lineEnd == 0);
  for (const std::string_view part : {text.substr(0, lineEnd), text.substr(lineEnd)}) {
    if (state >= 0) state = run(state, part);
    if (state >= 0) state = stateAtEnd(state);
  }
  if (state == found) return Answer::found;
  return state == beyondASCII || state == tooMany ? Answer::unknown : Answer::notFound;
}

}  // namespace tilvanego::detail
