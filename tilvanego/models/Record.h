#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include <tilvanego/json/JSON.h>
#include <tilvanego/json/ShownFields.h>
#include <tilvanego/validation/Rules.h>

/// The records of the POI interface are plain structs. An optional field is a `std::optional`. A required
/// enumeration is initialised with `unknownDefaultOpenApi`, a currency with `Currency::usd`. `==` and
/// `std::hash` use all members. Encoding and decoding don't check the rules of the fields; use a `Validator`.
namespace tilvanego {
namespace [[gnu::visibility("default")]] models {

/// A struct with an enumeration `CodingKeys` that has one case for each member.
template <typename T>
concept Record = json::NamesItsKeys<T>;

/// Writes the record as "Trace(cashier: \"Ann\", register: nil, …)", with its keys.
template <Record T>
std::ostream& operator<<(std::ostream& out, const T& record) {
  return support::showRecord(out, record);
}

/// A field of a record and its rule.
struct FieldRule {
  using Rule = std::variant<const StringRule*, const NumericRule<std::int64_t>*, const ArrayRule*>;

  /// Keeps a pointer to `constant`, which must be a static constant of the record.
  template <json::IsCodingKeys Keys, typename AnyRule>
  constexpr FieldRule(Keys key, const AnyRule& constant)
      : field(static_cast<std::size_t>(key)), rule(&constant) {}

  /// The index of the field in the record.
  std::size_t field;
  Rule rule;
};

/// A `std::vector` of one record type.
template <typename T>
concept RecordList = std::same_as<T, std::vector<typename T::value_type>> && Record<typename T::value_type>;

template <typename T>
concept RecordOrList = Record<T> || RecordList<T>;

}  // namespace models

namespace [[gnu::visibility("default")]] support {

/// Decodes one value of the text by `read`. On failure returns false and sets `error`.
[[nodiscard]] bool decodeBy(const std::function<bool(json::Reader&)>& read, std::string_view text,
                            const JSONLimits& limits, JSONError& error);
/// Returns the format with the dates of the records, unless it has dates of its own.
[[nodiscard]] JSONFormat withDates(JSONFormat format);

}  // namespace support

namespace [[gnu::visibility("default")]] models {

/// Decodes the JSON text (RFC 8259 in UTF-8) of a record or of an array of records: `decode<Trace>(text)`,
/// `decode<std::vector<Trace>>(text)`. Any thread may call this.
///
/// Fails if a required key is missing or null, a value has another type, a date has none of the three forms
/// of `JSONDates::api`, the text isn't JSON, or a limit is exceeded. The error is the one of the first
/// invalid field in the record's order; `JSONError::report()` returns it as one line. Unknown keys are
/// ignored, and unknown texts of enumerations become `unknownDefaultOpenApi`.
template <RecordOrList T>
[[nodiscard]] std::expected<T, JSONError> decode(std::string_view text, const JSONLimits& limits = {}) {
  std::expected<T, JSONError> value;
  JSONError error;
  const auto read = [&value](json::Reader& reader) { return json::Codec<T>::read(reader, *value); };
  if (!support::decodeBy(read, text, limits, error)) value = std::unexpected(std::move(error));
  return value;
}

/// Encodes a record or an array of records as JSON text. Fields without a value have no key. Dates are in UTC
/// with milliseconds, unless the format has other dates. Any thread may call this.
///
/// Fails for texts that aren't UTF-8, dates that have no text, and values that aren't a case of their
/// enumeration.
template <RecordOrList T>
[[nodiscard]] std::expected<std::string, JSONError> encode(const T& value, const JSONFormat& format = {}) {
  return json::encode(value, support::withDates(format));
}

}  // namespace models
}  // namespace tilvanego
