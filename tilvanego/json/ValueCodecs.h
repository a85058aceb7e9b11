#pragma once

#include <string_view>

#include <tilvanego/json/Codec.h>
#include <tilvanego/values/Date.h>
#include <tilvanego/values/Decimal.h>
#include <tilvanego/values/URL.h>
#include <tilvanego/values/UUID.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] json {

/// A string in the form of the reader's or the writer's `JSONDates`. Writing fails for a date without a text,
/// such as one after the year 9999.
template <>
struct Codec<Date> {
  [[nodiscard]] static bool read(Reader& reader, Date& date);
  static bool write(Writer& writer, const Date& date);
};

/// The canonical text of the UUID.
template <>
struct Codec<UUID> {
  [[nodiscard]] static bool read(Reader& reader, UUID& uuid);
  static bool write(Writer& writer, const UUID& uuid);
};

/// The text of the URL, read by `URL::parse`.
template <>
struct Codec<URL> {
  [[nodiscard]] static URL make();
  static bool read(Reader& reader, URL& url);
  [[nodiscard]] static bool write(Writer& writer, const URL& url);
};

/// Amounts have two codecs, of which a field may name one. Both write a string with at most three fraction
/// digits (`formattedDecimal`), never a number.
///
/// Reads a string by `Decimal::parse`. Any other string fails with the error text "The key K couldn't be
/// converted to a Decimal value".
struct AmountFromText {
  [[nodiscard]] static bool read(Reader& reader, Decimal& amount, std::string_view key);
  /// For an element of an array, which has no key. The error text is "expected a Decimal value".
  [[nodiscard]] static bool read(Reader& reader, Decimal& amount);
  static bool write(Writer& writer, const Decimal& amount);
};

/// Reads a number as the shortest decimal of its nearest double, so that 12.1 stays 12.1. Refuses strings,
/// also those that it writes.
struct AmountFromNumber {
  [[nodiscard]] static bool read(Reader& reader, Decimal& amount);
  static bool write(Writer& writer, const Decimal& amount) { return AmountFromText::write(writer, amount); }
};

/// The default codec of amounts.
template <>
struct Codec<Decimal> : AmountFromText {};

}  // namespace json
}  // namespace tilvanego
