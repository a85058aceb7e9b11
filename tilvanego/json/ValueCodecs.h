#pragma once

#include <string_view>

#include <tilvanego/json/Codec.h>
#include <tilvanego/values/Date.h>
#include <tilvanego/values/Decimal.h>
#include <tilvanego/values/URL.h>
#include <tilvanego/values/UUID.h>

namespace tilvanego::json {

/// A text in the form that the reader's or the writer's `JSONDates` say. A date that has none, such as one
/// beyond the year 9999, isn't written.
template <>
struct Codec<Date> {
  [[nodiscard]] static bool read(Reader& reader, Date& date);
  static bool write(Writer& writer, const Date& date);
};

/// Its canonical text.
template <>
struct Codec<UUID> {
  [[nodiscard]] static bool read(Reader& reader, UUID& uuid);
  static bool write(Writer& writer, const UUID& uuid);
};

/// Its text, read as `URL::parse` does.
template <>
struct Codec<URL> {
  [[nodiscard]] static URL make();
  static bool read(Reader& reader, URL& url);
  [[nodiscard]] static bool write(Writer& writer, const URL& url);
};

/// Amounts have two forms, of which a field may name one. Both are written alike, as a text with at most
/// three fraction digits (`formattedDecimal`), never as a number.
///
/// A text that `Decimal::parse` takes. Any other text fails with the words "The key K couldn't be converted
/// to a Decimal value".
struct AmountFromText {
  [[nodiscard]] static bool read(Reader& reader, Decimal& amount, std::string_view key);
  /// An element of a list has no key: "expected a Decimal value".
  [[nodiscard]] static bool read(Reader& reader, Decimal& amount);
  static bool write(Writer& writer, const Decimal& amount);
};

/// A number, read as the shortest decimal of its nearest double, so that 12.1 stays 12.1. A text is refused,
/// also the one that was written.
struct AmountFromNumber {
  [[nodiscard]] static bool read(Reader& reader, Decimal& amount);
  static bool write(Writer& writer, const Decimal& amount) { return AmountFromText::write(writer, amount); }
};

/// The form of amounts that have none named.
template <>
struct Codec<Decimal> : AmountFromText {};

}  // namespace tilvanego::json
