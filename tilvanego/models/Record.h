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
#include <tilvanego/validation/Rules.h>

/// The records of the POI interface are plain structs with mutable members. A required field stands as its
/// type, an optional one as `std::optional`; an enumeration that is required begins as `Currency::usd` or as
/// `unknownDefaultOpenApi`, so that a forgotten one is seen. Records are compared and hashed member by
/// member. Nothing checks a record by its rules unless the caller does.
namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] models {

template <typename T>
concept Record = json::NamesItsKeys<T>;

/// A rule constant of a record, and the field that it is about.
struct FieldRule {
  using Rule = std::variant<const StringRule*, const NumericRule<std::int64_t>*, const ArrayRule*>;

  /// The rule isn't copied: it is a constant of the record.
  template <json::IsCodingKeys Keys, typename AnyRule>
  constexpr FieldRule(Keys key, const AnyRule& constant)
      : field(static_cast<std::size_t>(key)), rule(&constant) {}

  /// The place of the field in the record.
  std::size_t field;
  Rule rule;
};

/// Records of one kind, such as an answer that lists them.
template <typename T>
concept RecordList = std::same_as<T, std::vector<typename T::value_type>> && Record<typename T::value_type>;

template <typename T>
concept RecordOrList = Record<T> || RecordList<T>;

}  // namespace models
}  // namespace tilvanego

namespace tilvanego::models::detail {

/// Reads with `read`, which goes through one value. The error is that of the first field at fault.
bool decodeBy(const std::function<bool(json::Reader&)>& read, std::string_view text, const JSONLimits& limits,
              JSONError& error);
/// The format with the dates that the records have unless it says otherwise.
JSONFormat withDates(JSONFormat format);

}  // namespace tilvanego::models::detail

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] models {

/// Reads the JSON text (RFC 8259 in UTF-8) of a record, or of a list of records: `decode<Trace>(text)`,
/// `decode<std::vector<Trace>>(text)`. A required key that is missing or null, a value of another type, a
/// date of none of the three patterns (`JSONDates::api`), a text that is no JSON and one beyond the limits
/// are refused; unknown keys are passed over and lost; unknown texts of enumerations become
/// `unknownDefaultOpenApi`. The error is that of the first field, in the record's order, that is at fault;
/// `JSONError::report()` says it in one line. Any thread may call this.
template <RecordOrList T>
std::expected<T, JSONError> decode(std::string_view text, const JSONLimits& limits = {}) {
  std::expected<T, JSONError> value;
  JSONError error;
  const auto read = [&value](json::Reader& reader) { return json::Codec<T>::read(reader, *value); };
  if (!detail::decodeBy(read, text, limits, error)) value = std::unexpected(std::move(error));
  return value;
}

/// Writes a record or a list of records as JSON text; absent fields leave no key. Dates have milliseconds, in
/// UTC, unless the format says otherwise. Fails on texts that aren't UTF-8, on dates that have no text and on
/// values that are no case of their enumeration. Any thread may call this.
template <RecordOrList T>
std::expected<std::string, JSONError> encode(const T& value, const JSONFormat& format = {}) {
  return json::encode(value, detail::withDates(format));
}

}  // namespace models
}  // namespace tilvanego
