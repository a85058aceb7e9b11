#pragma once

#include <tilvanego/http_client/Rules.h>
#include <tilvanego/json/CodingKeys.h>
#include <tilvanego/json/JSONError.h>
#include <tilvanego/json/JSONWriter.h>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

/// The records of the POI interface are plain structs with mutable members. A required field stands as its
/// type, an optional one as `std::optional`; an enumeration that is required begins as `Currency::usd` or as
/// `unknownDefaultOpenApi`, so that a forgotten one is seen. Records are compared and hashed member by
/// member. Nothing checks a record by its rules unless the caller does.
namespace tilvanego::models {

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

namespace detail {

bool decodeInto(const json::RecordTable& table, void* record, std::string_view text, JSONError& error);
std::expected<std::string, JSONError> encode(const json::RecordTable& table, const void* record,
                                             JSONFormat format);

}  // namespace detail

/// Reads the JSON text of a record (RFC 8259 in UTF-8). A required key that is missing or null, a value of
/// another type, a date of none of the three patterns (`JSONDates::api`) and a text that is no JSON are
/// refused; unknown keys are passed over and lost; unknown texts of enumerations become
/// `unknownDefaultOpenApi`. The error is that of the first field, in the record's order, that is at fault;
/// `JSONError::report()` says it in one line. Any thread may call this.
template <Record R>
std::expected<R, JSONError> decode(std::string_view text) {
  std::expected<R, JSONError> record;
  JSONError error;
  if (!detail::decodeInto(json::Described<R>::table(), &*record, text, error))
    record = std::unexpected(std::move(error));
  return record;
}

/// Writes a record as JSON text; absent fields leave no key. Dates have milliseconds, in UTC, unless the
/// format says otherwise. Fails only on texts that aren't UTF-8. Any thread may call this.
template <Record R>
std::expected<std::string, JSONError> encode(const R& record, const JSONFormat& format = {}) {
  return detail::encode(json::Described<R>::table(), &record, format);
}

}  // namespace tilvanego::models
