#pragma once

#include <cmath>
#include <concepts>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include <tilvanego/validation/Rules.h>
#include <tilvanego/validation/ValidationError.h>

namespace tilvanego::detail {

/// Whether `value` is a multiple of `divisor`. Of zero, only zero is a multiple.
template <std::integral Integer>
[[nodiscard]] constexpr bool isMultiple(Integer value, Integer divisor) {
  if (divisor == 0) return value == 0;
  // The smallest number divided by -1 would overflow.
  if constexpr (std::signed_integral<Integer>) {
    if (divisor == -1) return true;
  }
  return value % divisor == 0;
}

/// Whether the IEEE 754 remainder is zero, without tolerance. Infinities and NaN are no multiples.
template <std::floating_point Float>
[[nodiscard]] bool isMultiple(Float value, Float divisor) {
  return std::remainder(value, divisor) == 0;
}

/// A number that a rule over `Number` can check without loss.
template <typename Value, typename Number>
concept CheckedAs = !std::same_as<Value, bool> && (std::integral<Number> || std::floating_point<Number>) &&
                    requires(Value value) { Number{value}; };

/// A type whose values can be elements of a set.
template <typename T>
concept Hashable = std::equality_comparable<T> && requires(const T& value) {
  { std::hash<T>()(value) } -> std::convertible_to<std::size_t>;
};

}  // namespace tilvanego::detail

namespace [[gnu::visibility("default")]] tilvanego {

/// Checks one value against one rule, such as the rule constants of the models, and finds all violations. The
/// library never calls it: the host decides whether and when to check. Any thread may call it.
///
/// A pattern has ICU's syntax. It may match anywhere in the string, case-insensitively. Slashes around a
/// pattern are ordinary characters; the models' patterns have them, so no string matches these. A pattern
/// that is not valid does not match. Neither does one whose search needs millions of backtracking steps, so
/// that the call always returns soon. Each thread keeps the compiled patterns that it used last.
class Validator {
 public:
  Validator() = delete;

  /// Returns the value, unchanged. Throws `ValidationError<StringValidationErrorKind>`.
  static std::string validate(std::string value, const StringRule& rule) {
    throwIfAny(check(value, rule));
    return value;
  }
  /// Like above, without a copy: returns the same view.
  template <std::same_as<std::string_view> View>
  static View validate(View value, const StringRule& rule) {
    throwIfAny(check(value, rule));
    return value;
  }
  /// Returns the value, unchanged. Throws `ValidationError<NumericValidationErrorKind>`.
  template <typename Number, detail::CheckedAs<Number> Value>
  static Value validate(Value value, const NumericRule<Number>& rule) {
    throwIfAny(check(value, rule));
    return value;
  }
  /// Returns the values, unchanged. Throws `ValidationError<ArrayValidationErrorKind>`.
  template <detail::Hashable Element>
  static std::vector<Element> validate(std::vector<Element> values, const ArrayRule& rule) {
    throwIfAny(check(values, rule));
    return values;
  }

  /// Like `validate`, without exceptions: returns what the value violates, empty if nothing.
  [[nodiscard]] static KindSet<StringValidationErrorKind> check(std::string_view value,
                                                                const StringRule& rule);

  template <typename Number, detail::CheckedAs<Number> Value>
  [[nodiscard]] static KindSet<NumericValidationErrorKind> check(Value checked,
                                                                 const NumericRule<Number>& rule) {
    using enum NumericValidationErrorKind;
    const Number value{checked};
    KindSet<NumericValidationErrorKind> broken;
    // Written so that NaN violates no limit.
    if (rule.minimum && (rule.exclusiveMinimum ? *rule.minimum >= value : *rule.minimum > value)) {
      broken.insert(minimum);
    }
    if (rule.maximum && (rule.exclusiveMaximum ? value >= *rule.maximum : value > *rule.maximum)) {
      broken.insert(maximum);
    }
    if (rule.multipleOf && !detail::isMultiple(value, *rule.multipleOf)) broken.insert(multipleOf);
    return broken;
  }

  template <detail::Hashable Element>
  [[nodiscard]] static KindSet<ArrayValidationErrorKind> check(const std::vector<Element>& values,
                                                               const ArrayRule& rule) {
    using enum ArrayValidationErrorKind;
    KindSet<ArrayValidationErrorKind> broken;
    if (rule.minItems && values.size() < *rule.minItems) broken.insert(minItems);
    if (rule.maxItems && values.size() > *rule.maxItems) broken.insert(maxItems);
    if (rule.uniqueItems &&
        std::unordered_set<Element>(values.begin(), values.end()).size() != values.size()) {
      broken.insert(uniqueItems);
    }
    return broken;
  }

 private:
  template <typename Kind>
  static void throwIfAny(KindSet<Kind> broken) {
    if (!broken.empty()) throw ValidationError<Kind>(broken);
  }
};

}  // namespace tilvanego
