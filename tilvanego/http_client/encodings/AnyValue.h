#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include <tilvanego/values/Bytes.h>
#include <tilvanego/values/Data.h>
#include <tilvanego/values/Date.h>
#include <tilvanego/values/Decimal.h>
#include <tilvanego/values/RawText.h>
#include <tilvanego/values/URL.h>
#include <tilvanego/values/UUID.h>

namespace tilvanego::detail {

template <typename T>
inline constexpr bool isCharacter =
    std::same_as<T, char> || std::same_as<T, wchar_t> || std::same_as<T, char8_t> ||
    std::same_as<T, char16_t> || std::same_as<T, char32_t>;

}  // namespace tilvanego::detail

namespace [[gnu::visibility("default")]] tilvanego {

/// A value of a request parameter, whose type only its use decides: the name of a query item, a part of a
/// multipart body, a header. Made implicitly from the C++ values that a host has at hand; a pointer other
/// than `const char*` doesn't compile, so none becomes a bool.
///
/// Immutable. A copy shares bytes and collections with its original; different copies may be used on
/// different threads.
class AnyValue {
 public:
  /// A case of an enumeration, by its raw text.
  struct RawValue {
    std::string text;
    bool operator==(const RawValue&) const = default;
  };
  /// The elements of a collection; an element may be absent.
  using Array = std::vector<std::optional<AnyValue>>;

  AnyValue(std::string text) : value_(std::move(text)) {}
  AnyValue(std::string_view text) : value_(std::string(text)) {}
  /// The text up to its NUL.
  AnyValue(const char* text) : value_(std::string(text)) {}
  AnyValue(std::nullptr_t) = delete;
  template <std::same_as<bool> Bool>
  AnyValue(Bool value) : value_(value) {}
  template <std::integral Integer>
    requires(!std::same_as<Integer, bool> && !detail::isCharacter<Integer>)
  AnyValue(Integer value) {
    if (std::in_range<std::int64_t>(value)) {
      value_ = static_cast<std::int64_t>(value);
    } else {
      value_ = static_cast<std::uint64_t>(value);
    }
  }
  /// One character is neither a text nor a number.
  template <typename Character>
    requires detail::isCharacter<Character>
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
  /// Any values that can be `AnyValue`s, or optionals of them.
  template <typename Element>
    requires std::constructible_from<std::optional<AnyValue>, const Element&>
  AnyValue(const std::vector<Element>& elements) : value_(shareCopy(elements)) {}

  /// A collection of values of several types: `AnyValue::array({1, "two", std::nullopt})`.
  [[nodiscard]] static AnyValue array(std::initializer_list<std::optional<AnyValue>> elements);

  /// The value if it is of exactly this type, else null; valid as long as this object. The types are those of
  /// `visit`.
  template <typename T>
  [[nodiscard]] const T* as() const {
    if constexpr (std::same_as<T, Array>) {
      const auto* shared = std::get_if<SharedArray>(&value_);
      return shared != nullptr ? shared->get() : nullptr;
    } else {
      return std::get_if<T>(&value_);
    }
  }

  /// Calls `visitor` with the value: a `std::string`, `std::int64_t`, `std::uint64_t` (beyond the former
  /// alone), `double`, `bool`, `Decimal`, `Data`, `URL`, `UUID`, `Date`, `RawValue` or `Array`.
  template <typename Visitor>
  decltype(auto) visit(Visitor&& visitor) const {
    return std::visit(
        [&]<typename Held>(const Held& held) -> decltype(auto) {
          if constexpr (std::same_as<Held, SharedArray>) {
            return visitor(*held);
          } else {
            return visitor(held);
          }
        },
        value_);
  }

  /// A number's text in a multipart body: plain digits, no ".0" on whole numbers, "1" and "0" for booleans.
  /// None unless the value is an integer, a float, a `Decimal` or a boolean.
  [[nodiscard]] std::optional<std::string> numberText() const;

  /// The default text form of any value: itself for a text; "true", "12", "1.0", "12.5"; a URL's and UUID's
  /// text; "2024-03-05 10:20:30 +0000" for a date; the raw text of an enumeration's case; "5 bytes", never
  /// the bytes; `["a", 1, nil]` for a collection.
  [[nodiscard]] std::string description() const;

  /// Of the same type and equal; the integer 1 isn't the double 1.0.
  friend bool operator==(const AnyValue& a, const AnyValue& b);

 private:
  // Shared, so that copies are cheap, and a pointer, because the element type isn't complete here.
  using SharedArray = std::shared_ptr<const Array>;

  explicit AnyValue(SharedArray elements) : value_(std::move(elements)) {}

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

/// The parameters of a request by name. Encodings go through them in ascending order of the names' bytes.
using Parameters = std::map<std::string, AnyValue>;

}  // namespace tilvanego
