#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace [[gnu::visibility("default")]] tilvanego {

/// A rule for strings. A field without a value checks nothing.
struct StringRule {
  /// In characters that a reader sees (extended grapheme clusters, UAX #29).
  std::optional<std::size_t> minLength{};
  std::optional<std::size_t> maxLength{};
  /// A regular expression (ICU's syntax) that must match anywhere in the string, case-insensitively. Not
  /// owned: the pattern must outlive the rule. Use a literal.
  std::optional<std::string_view> pattern{};

  bool operator==(const StringRule&) const = default;
};

/// A rule for numbers. A field without a value checks nothing.
template <typename Number>
struct NumericRule {
  std::optional<Number> minimum{};
  bool exclusiveMinimum = false;
  std::optional<Number> maximum{};
  bool exclusiveMaximum = false;
  std::optional<Number> multipleOf{};

  bool operator==(const NumericRule&) const = default;
};

/// A rule for arrays. A field without a value checks nothing.
struct ArrayRule {
  std::optional<std::size_t> minItems{};
  std::optional<std::size_t> maxItems{};
  bool uniqueItems = false;

  bool operator==(const ArrayRule&) const = default;
};

}  // namespace tilvanego
