#include <tilvanego/json/ValueCodecs.h>

#include <optional>
#include <string>

#include <tilvanego/values/DateFormats.h>
#include <tilvanego/values/DecimalFormatter.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

template <std::optional<Date> (*readText)(std::string_view), std::string (*textOf)(const Date&)>
class DatesBy final : public JSONDates {
 public:
  std::optional<Date> read(std::string_view text) const override { return readText(text); }
  std::optional<std::string> write(const Date& date) const override {
    return hasDateText(date) ? std::optional(textOf(date)) : std::nullopt;
  }
};

}  // namespace

const JSONDates& JSONDates::api() {
  // Never destroyed: a session may read a response while the process ends.
  static const auto& form = *new DatesBy<readAPIDate, apiDateText>;
  return form;
}

const JSONDates& JSONDates::internetDateTime() {
  static const auto& form = *new DatesBy<readInternetDate, internetDateText>;
  return form;
}

namespace json {
namespace {

// Reads a string and converts it, or fails.
template <typename T>
bool accept(Reader& reader, T& value, const std::optional<T>& meaning, std::string_view complaint) {
  if (!meaning) return reader.fail(JSONFailure::invalidValue, std::string(complaint));
  value = *meaning;
  return true;
}

const JSONDates& orDefault(const JSONDates* dates) {
  return dates != nullptr ? *dates : JSONDates::internetDateTime();
}

}  // namespace

bool Codec<Date>::read(Reader& reader, Date& date) {
  std::string_view text;
  return reader.readText(text) &&
         accept(reader, date, orDefault(reader.dates()).read(text), "expected a date");
}

bool Codec<Date>::write(Writer& writer, const Date& date) {
  const std::optional<std::string> text = orDefault(writer.format().dates).write(date);
  return text ? writer.text(*text)
              : writer.fail(JSONFailure::invalidValue, "a date outside the years that can be written");
}

bool Codec<UUID>::read(Reader& reader, UUID& uuid) {
  std::string_view text;
  return reader.readText(text) && accept(reader, uuid, UUID::parse(text), "expected a UUID");
}

bool Codec<UUID>::write(Writer& writer, const UUID& uuid) { return writer.text(uuid.text()); }

URL Codec<URL>::make() { return URL::parse("/").value(); }

bool Codec<URL>::read(Reader& reader, URL& url) {
  std::string_view text;
  if (!reader.readText(text)) return false;
  auto read = URL::parse(text);
  if (!read) return reader.fail(JSONFailure::invalidValue, "expected a URL");
  url = *std::move(read);
  return true;
}

bool Codec<URL>::write(Writer& writer, const URL& url) { return writer.text(url.absoluteString()); }

bool AmountFromText::read(Reader& reader, Decimal& amount, std::string_view key) {
  std::string_view text;
  if (!reader.readText(text)) return false;
  const auto number = Decimal::parse(text);
  if (!number) {
    return reader.fail(JSONFailure::invalidValue,
                       "The key " + std::string(key) + " couldn't be converted to a Decimal value");
  }
  amount = *number;
  return true;
}

bool AmountFromText::read(Reader& reader, Decimal& amount) {
  std::string_view text;
  return reader.readText(text) && accept(reader, amount, Decimal::parse(text), "expected a Decimal value");
}

bool AmountFromText::write(Writer& writer, const Decimal& amount) {
  return writer.text(formattedDecimal(amount));
}

bool AmountFromNumber::read(Reader& reader, Decimal& amount) {
  double number = 0;
  return reader.readDouble(number) &&
         accept(reader, amount, Decimal::fromDouble(number), "the number is no amount");
}

}  // namespace json
}  // namespace tilvanego
