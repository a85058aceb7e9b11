#pragma once

#include <cmath>
#include <concepts>
#include <functional>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_set>
#include <utility>
#include <vector>

#include <tilvanego/validation/Rules.h>
#include <tilvanego/validation/ValidationError.h>

namespace tilvanego {

namespace detail {

/// Whether `divisor` goes into `value`: for zero only zero is a multiple.
template <std::integral Integer>
[[nodiscard]] constexpr bool isMultiple(Integer value, Integer divisor) {
  if (divisor == 0) return value == 0;
  // The smallest number divided by -1 would overflow.
  if constexpr (std::signed_integral<Integer>) {
    if (divisor == -1) return true;
  }
  return value % divisor == 0;
}

/// The remainder of IEEE 754, without tolerance; what isn't finite is no multiple.
template <std::floating_point Float>
[[nodiscard]] bool isMultiple(Float value, Float divisor) {
  return std::remainder(value, divisor) == 0;
}

/// A number that a rule over `Number` can check without losing any of it.
template <typename Value, typename Number>
concept CheckedAs = !std::same_as<Value, bool> && (std::integral<Number> || std::floating_point<Number>) &&
                    requires(Value value) { Number{value}; };

/// What can be an element of a set.
template <typename T>
concept Hashable = std::equality_comparable<T> && requires(const T& value) {
  { std::hash<T>()(value) } -> std::convertible_to<std::size_t>;
};

}  // namespace detail

/// Checks one value against one rule, such as the rule constants of the models, and finds everything that it
/// breaks. Nothing in this library calls it: whether and when to check is the host's choice. Stateless; any
/// thread may call it.
///
/// A pattern is ICU's, searched without regard to case anywhere in the text, and used as it stands: slashes
/// around it are characters like any other. The models' patterns have such slashes, so no text matches
/// them. A pattern that isn't valid counts as not matched; so does one whose search in this text takes
/// millions of steps back, which keeps an unlucky pair of pattern and text from holding up the thread. Each
/// thread keeps the patterns that it used last ready for use.
class Validator {
 public:
  Validator() = delete;

  /// The value, unchanged. Throws `ValidationError<StringValidationErrorKind>`.
  static std::string validate(std::string value, const StringRule& rule) {
    throwIfAny(check(value, rule));
    return value;
  }
  /// The same without a copy: the view that was given.
  template <std::same_as<std::string_view> View>
  static View validate(View value, const StringRule& rule) {
    throwIfAny(check(value, rule));
    return value;
  }
  /// The value, unchanged. Throws `ValidationError<NumericValidationErrorKind>`.
  template <typename Number, detail::CheckedAs<Number> Value>
  static Value validate(Value value, const NumericRule<Number>& rule) {
    throwIfAny(check(value, rule));
    return value;
  }
  /// The values, unchanged. Throws `ValidationError<ArrayValidationErrorKind>`.
  template <detail::Hashable Element>
  static std::vector<Element> validate(std::vector<Element> values, const ArrayRule& rule) {
    throwIfAny(check(values, rule));
    return values;
  }

  /// The same without exceptions: what the value breaks, empty if it keeps to the rule.
  [[nodiscard]] static KindSet<StringValidationErrorKind> check(std::string_view value,
                                                                const StringRule& rule);

  template <typename Number, detail::CheckedAs<Number> Value>
  [[nodiscard]] static KindSet<NumericValidationErrorKind> check(Value checked,
                                                                 const NumericRule<Number>& rule) {
    using enum NumericValidationErrorKind;
    const Number value{checked};
    KindSet<NumericValidationErrorKind> broken;
    // Written so that NaN, which compares with nothing, keeps to every limit.
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
