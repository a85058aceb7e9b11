#pragma once

#include <tilvanego/values/RawText.h>

#include <array>
#include <exception>
#include <set>
#include <string>
#include <string_view>
#include <utility>

namespace tilvanego {

/// What a text broke.
enum class StringValidationErrorKind { minLength, maxLength, pattern };
/// What a number broke.
enum class NumericValidationErrorKind { minimum, maximum, multipleOf };
/// What a list broke.
enum class ArrayValidationErrorKind { minItems, maxItems, uniqueItems };

template <>
struct RawTexts<StringValidationErrorKind> {
  using enum StringValidationErrorKind;
  static constexpr std::array table{std::pair{minLength, std::string_view("minLength")},
                                    std::pair{maxLength, std::string_view("maxLength")},
                                    std::pair{pattern, std::string_view("pattern")}};
};

template <>
struct RawTexts<NumericValidationErrorKind> {
  using enum NumericValidationErrorKind;
  static constexpr std::array table{std::pair{minimum, std::string_view("minimum")},
                                    std::pair{maximum, std::string_view("maximum")},
                                    std::pair{multipleOf, std::string_view("multipleOf")}};
};

template <>
struct RawTexts<ArrayValidationErrorKind> {
  using enum ArrayValidationErrorKind;
  static constexpr std::array table{std::pair{minItems, std::string_view("minItems")},
                                    std::pair{maxItems, std::string_view("maxItems")},
                                    std::pair{uniqueItems, std::string_view("uniqueItems")}};
};

/// A value breaks its rule; `Validator` throws it. `Kind` is one of the three enumerations above, whose cases
/// have their names as raw texts.
template <typename Kind>
class ValidationError : public std::exception {
 public:
  explicit ValidationError(std::set<Kind> broken) : kinds(std::move(broken)) {}

  /// Everything that was broken; never empty when thrown.
  std::set<Kind> kinds;

  [[nodiscard]] const char* what() const noexcept override { return "a value breaks its rule"; }

  /// "the value breaks minLength, pattern": never shows the value.
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
