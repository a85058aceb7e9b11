#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include <tilvanego/http_client/encodings/FlatMap.h>
#include <tilvanego/json/Codec.h>
#include <tilvanego/values/Bytes.h>
#include <tilvanego/values/Data.h>
#include <tilvanego/values/Date.h>
#include <tilvanego/values/Decimal.h>
#include <tilvanego/values/Lifetime.h>
#include <tilvanego/values/RawText.h>
#include <tilvanego/values/URL.h>
#include <tilvanego/values/UUID.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The value of a request parameter: a text, a number, a boolean, bytes, a URL, a UUID, a date, an
/// enumeration, or a collection of these. Converts implicitly from such C++ values. A pointer other than
/// `const char*` doesn't compile, so that it can't become a bool.
///
/// Immutable. Copies share bytes and collections, and may be used on different threads. A moved-from object
/// may still be read, but holds an unspecified value.
class AnyValue {
 public:
  /// The raw text of an enumeration.
  struct RawValue {
    std::string text;
    bool operator==(const RawValue&) const = default;
  };
  /// The elements of a collection; an element may be absent.
  using Array = std::vector<std::optional<AnyValue>>;

  AnyValue(std::string text) : value_(std::move(text)) {}
  AnyValue(std::string_view text) : value_(std::in_place_type<std::string>, text) {}
  /// `text` must not be null and must end with a NUL.
  AnyValue(const char* text) : value_(std::in_place_type<std::string>, text) {}
  AnyValue(std::nullptr_t) = delete;
  template <std::same_as<bool> Bool>
  AnyValue(Bool value) : value_(value) {}
  template <json::WholeNumber Integer>
  AnyValue(Integer value) {
    if (std::in_range<std::int64_t>(value)) {
      value_ = static_cast<std::int64_t>(value);
    } else {
      value_ = static_cast<std::uint64_t>(value);
    }
  }
  /// Deleted: a character could be meant as a text or as a number.
  template <json::CharacterType Character>
  AnyValue(Character) = delete;
  template <std::floating_point Float>
  AnyValue(Float value) : value_(static_cast<double>(value)) {}
  AnyValue(const Decimal& value) : value_(value) {}
  AnyValue(Data bytes) : value_(std::move(bytes)) {}
  AnyValue(Bytes bytes) : value_(Data(std::move(bytes))) {}
  AnyValue(URL url) : value_(std::move(url)) {}
  AnyValue(const UUID& uuid) : value_(uuid) {}
  AnyValue(const Date& date) : value_(date) {}
  template <HasRawText Enumeration>
    requires std::is_enum_v<Enumeration>
  AnyValue(Enumeration value) : value_(RawValue{std::string(rawText(value))}) {}
  /// A collection. Its elements are values that convert to `AnyValue`, or `std::optional` of such values.
  template <typename Element>
    requires std::constructible_from<std::optional<AnyValue>, const Element&>
  AnyValue(const std::vector<Element>& elements) : value_(shareCopy(elements)) {}

  /// Creates a collection of values of different types: `AnyValue::array({1, "two", std::nullopt})`.
  [[nodiscard]] static AnyValue array(std::initializer_list<std::optional<AnyValue>> elements);

  /// Returns the value if it has exactly this type, one of those of `visit`, else null. Valid as long as this
  /// object.
  template <typename T>
  [[nodiscard]] const T* as() const TILVANEGO_LIFETIMEBOUND {
    if constexpr (std::same_as<T, Array>) {
      const auto* shared = std::get_if<SharedArray>(&value_);
      return shared != nullptr ? &elementsOf(*shared) : nullptr;
    } else {
      return std::get_if<T>(&value_);
    }
  }

  /// Calls `visitor` with the value: a `std::string`, `std::int64_t`, `std::uint64_t` (only for numbers above
  /// the range of the former), `double`, `bool`, `Decimal`, `Data`, `URL`, `UUID`, `Date`, `RawValue` or
  /// `Array`. Returns the visitor's result.
  template <typename Visitor>
  decltype(auto) visit(Visitor&& visitor) const {
    return std::visit(
        [&]<typename Held>(const Held& held) -> decltype(auto) {
          if constexpr (std::same_as<Held, SharedArray>) {
            return visitor(elementsOf(held));
          } else {
            return visitor(held);
          }
        },
        value_);
  }

  /// Returns the text of a number in a multipart body, as JSON writes it: no ".0" after whole numbers, an
  /// exponent for very large and very small doubles ("1e+17"); "1" and "0" for booleans. No value unless this
  /// is an integer, a double, a `Decimal` or a boolean.
  [[nodiscard]] std::optional<std::string> numberText() const;

  /// Returns the default text form: a text itself; "true", "12", "1.0", "12.5"; the text of a URL or UUID;
  /// "2024-03-05 10:20:30 +0000" for a date; the raw text of an enumeration; "5 bytes" for bytes;
  /// `["a", 1, nil]` for a collection.
  [[nodiscard]] std::string description() const;

  /// True if type and value are equal; the integer 1 isn't equal to the double 1.0.
  friend bool operator==(const AnyValue& a, const AnyValue& b);

 private:
  // A pointer, because the element type isn't complete here; shared, so that copies are cheap.
  using SharedArray = std::shared_ptr<const Array>;

  explicit AnyValue(SharedArray elements) : value_(std::move(elements)) {}

  /// A moved-from collection has no pointer.
  static const Array& elementsOf(const SharedArray& shared) { return shared ? *shared : noElements(); }
  static const Array& noElements();

  template <typename Element>
  static SharedArray shareCopy(const std::vector<Element>& elements) {
    Array copies;
    copies.reserve(elements.size());
    for (std::size_t i = 0; i < elements.size(); ++i) {
      if constexpr (std::same_as<Element, bool>) {
        copies.emplace_back(bool{elements[i]});
      } else {
        copies.emplace_back(elements[i]);
      }
    }
    return std::make_shared<const Array>(std::move(copies));
  }

  std::variant<std::string, std::int64_t, std::uint64_t, double, bool, Decimal, Data, URL, UUID, Date,
               RawValue, SharedArray>
      value_;
};

/// The parameters of a request by name. Encodings write them in ascending order of the names' bytes.
using Parameters = FlatMap<AnyValue>;

}  // namespace tilvanego
