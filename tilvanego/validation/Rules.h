#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace [[gnu::visibility("default")]] tilvanego {

/// What a text must be like. A rule without a field checks nothing.
struct StringRule {
  /// In characters as a reader sees them (extended grapheme clusters, UAX #29).
  std::optional<std::size_t> minLength{};
  std::optional<std::size_t> maxLength{};
  /// A regular expression of ICU's syntax, searched anywhere in the text, without regard to case. The text
  /// must outlive the rule; in a rule constant it is a literal.
  std::optional<std::string_view> pattern{};

  bool operator==(const StringRule&) const = default;
};

/// What a number must be like.
template <typename Number>
struct NumericRule {
  std::optional<Number> minimum{};
  bool exclusiveMinimum = false;
  std::optional<Number> maximum{};
  bool exclusiveMaximum = false;
  std::optional<Number> multipleOf{};

  bool operator==(const NumericRule&) const = default;
};

/// What a list must be like.
struct ArrayRule {
  std::optional<std::size_t> minItems{};
  std::optional<std::size_t> maxItems{};
  bool uniqueItems = false;

  bool operator==(const ArrayRule&) const = default;
};

}  // namespace tilvanego
