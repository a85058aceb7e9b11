#pragma once

#include <bit>
#include <cstddef>
#include <exception>
#include <initializer_list>
#include <string>

#include <tilvanego/json/CodingKeys.h>
#include <tilvanego/values/RawText.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// What a string violates.
enum class StringValidationErrorKind { minLength, maxLength, pattern };
/// What a number violates.
enum class NumericValidationErrorKind { minimum, maximum, multipleOf };
/// What an array violates.
enum class ArrayValidationErrorKind { minItems, maxItems, uniqueItems };

template <>
inline constexpr bool json::namesAreTexts<StringValidationErrorKind> = true;

template <>
inline constexpr bool json::namesAreTexts<NumericValidationErrorKind> = true;

template <>
inline constexpr bool json::namesAreTexts<ArrayValidationErrorKind> = true;

/// A set of cases of one of these enumerations.
template <typename Kind>
class KindSet {
 public:
  /// Iterates over the cases in their order.
  class Iterator {
   public:
    using difference_type = std::ptrdiff_t;
    using value_type = Kind;
    constexpr Iterator() = default;
    constexpr explicit Iterator(unsigned bits) : bits_(bits) {}
    constexpr Kind operator*() const { return static_cast<Kind>(std::countr_zero(bits_)); }
    constexpr Iterator& operator++() {
      bits_ &= bits_ - 1;
      return *this;
    }
    constexpr Iterator operator++(int) {
      const Iterator before = *this;
      ++*this;
      return before;
    }
    constexpr bool operator==(const Iterator&) const = default;

   private:
    unsigned bits_ = 0;
  };

  constexpr KindSet() = default;
  constexpr KindSet(std::initializer_list<Kind> kinds) {
    for (const Kind kind : kinds) insert(kind);
  }

  constexpr void insert(Kind kind) { bits_ |= 1U << static_cast<unsigned>(kind); }
  [[nodiscard]] constexpr bool contains(Kind kind) const {
    return (bits_ >> static_cast<unsigned>(kind) & 1U) != 0;
  }
  [[nodiscard]] constexpr bool empty() const { return bits_ == 0; }
  [[nodiscard]] constexpr std::size_t size() const { return static_cast<std::size_t>(std::popcount(bits_)); }
  [[nodiscard]] constexpr Iterator begin() const { return Iterator(bits_); }
  [[nodiscard]] constexpr Iterator end() const { return Iterator(); }
  constexpr bool operator==(const KindSet&) const = default;

 private:
  unsigned bits_ = 0;
};

/// The exception that `Validator` throws if a value violates its rule. `Kind` is one of the three
/// enumerations above; the raw texts of their cases are their names.
template <typename Kind>
class ValidationError : public std::exception {
 public:
  explicit ValidationError(KindSet<Kind> broken) : kinds(broken) {}

  /// Everything that the value violates. Never empty if thrown.
  KindSet<Kind> kinds;

  [[nodiscard]] const char* what() const noexcept override { return "a value breaks its rule"; }

  /// Returns a text like "the value breaks minLength, pattern". It never shows the value.
  [[nodiscard]] std::string description() const {
    std::string text = "the value breaks ";
    for (const Kind kind : kinds) {
      if (kind != *kinds.begin()) text += ", ";
      text += rawText(kind);
    }
    return text;
  }

  bool operator==(const ValidationError& other) const { return kinds == other.kinds; }
};

}  // namespace tilvanego
