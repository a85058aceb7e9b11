#include <tilvanego/http_client/PatternParser.h>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace tilvanego::detail {
namespace {

using Index = PatternGraph::Index;
using Kind = PatternGraph::Kind;

constexpr std::size_t mostNodes = 2000;
constexpr int deepest = 32;
constexpr int unlimited = -1;
constexpr int mostRepetitions = 1000;

constexpr bool isDigit(char c) { return c >= '0' && c <= '9'; }
constexpr bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
constexpr bool isASCII(char c) { return static_cast<unsigned char>(c) < 0x80; }

void add(CharacterSet& set, char from, char to) {
  for (auto c = static_cast<std::size_t>(from); c <= static_cast<std::size_t>(to); ++c) set.set(c);
}

/// The characters of `\d`, `\w` or `\s`; none for any other letter.
std::optional<CharacterSet> namedSet(char letter) {
  CharacterSet set;
  switch (letter) {
    case 'w':
      add(set, 'a', 'z');
      add(set, 'A', 'Z');
      add(set, '_', '_');
      [[fallthrough]];
    case 'd':
      add(set, '0', '9');
      return set;
    case 's':
      add(set, '\t', '\r');
      add(set, ' ', ' ');
      return set;
    default:
      return std::nullopt;
  }
}

/// The character that an escape stands for; none if it stands for more, or isn't known here.
std::optional<char> escapedCharacter(char c) {
  switch (c) {
    case 't':
      return '\t';
    case 'n':
      return '\n';
    case 'r':
      return '\r';
    case 'f':
      return '\f';
    default:
      if (!isASCII(c) || isLetter(c) || isDigit(c) || c <= ' ' || c == 0x7F) return std::nullopt;
      return c;
  }
}

CharacterSet inBothCases(CharacterSet set) {
  for (std::size_t c = 'a'; c <= 'z'; ++c) {
    const std::size_t upper = c - 'a' + 'A';
    const bool isIn = set[c] || set[upper];
    set[c] = isIn;
    set[upper] = isIn;
  }
  return set;
}

/// A part of the graph between two nodes, the last of which has no edges yet.
struct Piece {
  Index first;
  Index last;
  bool mayBeEmpty;
};

/// Recursive descent. Every function gives nothing where the pattern goes beyond what is known.
class Parser {
 public:
  explicit Parser(std::string_view pattern) : pattern_(pattern) {}

  std::optional<PatternGraph> parse() {
    const auto whole = alternatives();
    if (!whole || at_ != pattern_.size() || graph_.nodes.size() > mostNodes) return std::nullopt;
    graph_.nodes[whole->last].kind = Kind::found;
    graph_.start = whole->first;
    return std::move(graph_);
  }

 private:
  [[nodiscard]] bool isNext(char c) const { return at_ < pattern_.size() && pattern_[at_] == c; }
  bool take(char c) {
    if (!isNext(c)) return false;
    ++at_;
    return true;
  }
  std::optional<char> takeAny() {
    if (at_ == pattern_.size()) return std::nullopt;
    return pattern_[at_++];
  }

  Index node(Kind kind = Kind::empty) {
    graph_.nodes.push_back({.kind = kind});
    return static_cast<Index>(graph_.nodes.size() - 1);
  }
  void link(Index from, Index to) {
    PatternGraph::Node& node = graph_.nodes[from];
    (node.next == PatternGraph::none ? node.next : node.other) = to;
  }
  Piece piece(Kind kind) {
    const Index first = node(kind);
    const Index last = node();
    link(first, last);
    return {first, last, true};
  }
  Piece piece(const CharacterSet& characters) {
    const CharacterSet set = inBothCases(characters);
    const auto known = std::ranges::find(graph_.sets, set);
    const auto index = static_cast<Index>(known - graph_.sets.begin());
    if (known == graph_.sets.end()) graph_.sets.push_back(set);
    Piece made = piece(Kind::characters);
    graph_.nodes[made.first].characters = index;
    made.mayBeEmpty = false;
    return made;
  }
  Piece piece(char character) {
    CharacterSet set;
    add(set, character, character);
    return piece(set);
  }

  std::optional<Piece> alternatives() {
    auto whole = branch();
    while (whole && take('|')) {
      const auto further = branch();
      if (!further) return std::nullopt;
      const Index fork = node();
      const Index join = node();
      link(fork, whole->first);
      link(fork, further->first);
      link(whole->last, join);
      link(further->last, join);
      whole = Piece{fork, join, whole->mayBeEmpty || further->mayBeEmpty};
    }
    return whole;
  }

  std::optional<Piece> branch() {
    const Index first = node();
    Piece whole{first, first, true};
    while (at_ < pattern_.size() && !isNext('|') && !isNext(')')) {
      const auto part = repeated();
      if (!part || graph_.nodes.size() > mostNodes) return std::nullopt;
      link(whole.last, part->first);
      whole = {first, part->last, whole.mayBeEmpty && part->mayBeEmpty};
    }
    return whole;
  }

  std::optional<Piece> repeated() {
    const std::size_t start = at_;
    auto part = atom();
    if (!part) return std::nullopt;
    int least = 1;
    int most = 1;
    if (!takeCounts(least, most)) return std::nullopt;
    if (least == 1 && most == 1) return part;
    if (part->mayBeEmpty) return std::nullopt;

    // Each repetition is a copy of its own, read from the pattern anew.
    const std::size_t end = std::exchange(at_, start);
    const Index first = node();
    const Index exit = node();
    Index last = first;
    const int copies = most == unlimited ? std::max(least, 1) : most;
    for (int i = 0; i < copies; ++i) {
      at_ = start;
      if (i != 0) part = atom();
      if (!part || graph_.nodes.size() > mostNodes) return std::nullopt;
      if (i >= least) link(last, exit);
      link(last, part->first);
      last = part->last;
    }
    if (most == unlimited) link(last, part->first);
    link(last, exit);
    at_ = end;
    return Piece{first, exit, least == 0};
  }

  /// A quantifier, if one is there. Whether it is lazy doesn't change what is found.
  bool takeCounts(int& least, int& most) {
    if (take('?')) {
      least = 0;
    } else if (take('*')) {
      least = 0;
      most = unlimited;
    } else if (take('+')) {
      most = unlimited;
    } else if (take('{')) {
      if (!takeNumber(least)) return false;
      most = least;
      if (take(',')) {
        most = unlimited;
        if (!isNext('}') && !takeNumber(most)) return false;
      }
      if (!take('}') || most == 0) return false;
    } else {
      return true;
    }
    take('?');
    return !isNext('+') && !isNext('*') && !isNext('?') && !isNext('{');
  }

  bool takeNumber(int& number) {
    const std::size_t start = at_;
    int value = 0;
    while (at_ < pattern_.size() && isDigit(pattern_[at_]) && value <= mostRepetitions) {
      value = value * 10 + (pattern_[at_++] - '0');
    }
    if (at_ == start) return false;
    number = value;
    return value <= mostRepetitions;
  }

  std::optional<Piece> atom() {
    const auto c = takeAny();
    if (!c || !isASCII(*c)) return std::nullopt;
    switch (*c) {
      case '^':
        return piece(Kind::atStart);
      case '$':
        return piece(Kind::atEnd);
      case '.': {
        CharacterSet lineEnds;
        add(lineEnds, '\n', '\r');
        return piece(~lineEnds);
      }
      case '(':
        return group();
      case '[':
        return characterClass();
      case '\\':
        return escape();
      case '|':
      case '?':
      case '*':
      case '+':
      case ')':
      case ']':
      case '{':
      case '}':
        return std::nullopt;
      default:
        return piece(*c);
    }
  }

  std::optional<Piece> group() {
    if (take('?') && !take(':')) return std::nullopt;
    if (++depth_ > deepest) return std::nullopt;
    const auto inside = alternatives();
    --depth_;
    if (!inside || !take(')')) return std::nullopt;
    return inside;
  }

  std::optional<Piece> escape() {
    const auto c = takeAny();
    if (!c) return std::nullopt;
    if (const auto set = namedSet(*c)) return piece(*set);
    const auto character = escapedCharacter(*c);
    if (!character) return std::nullopt;
    return piece(*character);
  }

  /// A character of a class; none for what has a meaning of its own there.
  std::optional<char> classCharacter() {
    const auto c = takeAny();
    if (!c || !isASCII(*c)) return std::nullopt;
    switch (*c) {
      case '\\': {
        const auto escaped = takeAny();
        return escaped ? escapedCharacter(*escaped) : std::nullopt;
      }
      case '[':
      case '&':
      case '{':
      case '}':
        return std::nullopt;
      default:
        return c;
    }
  }

  std::optional<Piece> characterClass() {
    if (isNext('^') || isNext(']')) return std::nullopt;
    CharacterSet set;
    while (!take(']')) {
      if (isNext('\\') && at_ + 1 < pattern_.size()) {
        if (const auto named = namedSet(pattern_[at_ + 1])) {
          at_ += 2;
          set |= *named;
          if (isNext('-')) return std::nullopt;
          continue;
        }
      }
      const auto from = classCharacter();
      if (!from) return std::nullopt;
      auto to = from;
      if (isNext('-')) {
        ++at_;
        if (isNext('-')) return std::nullopt;
        if (isNext(']')) {
          add(set, '-', '-');
        } else {
          to = classCharacter();
        }
      }
      if (!to || *to < *from) return std::nullopt;
      add(set, *from, *to);
    }
    return piece(set);
  }

  std::string_view pattern_;
  std::size_t at_ = 0;
  int depth_ = 0;
  PatternGraph graph_;
};

}  // namespace

std::optional<PatternGraph> parsePattern(std::string_view pattern) { return Parser(pattern).parse(); }

}  // namespace tilvanego::detail
