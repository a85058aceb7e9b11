#include <tilvanego/values/Shown.h>

#include <ostream>
#include <string>
#include <utility>

#include <tilvanego/values/Date.h>
#include <tilvanego/values/DateFormats.h>
#include <tilvanego/values/DoubleText.h>
#include <tilvanego/values/OneLine.h>
#include <tilvanego/values/QueryItem.h>
#include <tilvanego/values/SecretNames.h>
#include <tilvanego/values/URL.h>
#include <tilvanego/values/UUID.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

constexpr std::string_view redacted = "<redacted>";

}  // namespace

void support::showText(std::ostream& out, std::string_view text) { out << text; }

void support::showLiteral(std::ostream& out, std::string_view text) { out << detail::oneLineLiteral(text); }

void support::showNumber(std::ostream& out, std::int64_t value) { out << std::to_string(value); }

void support::showNumber(std::ostream& out, double value) { out << doubleText(value); }

std::ostream& Date::show(std::ostream& out) const {
  const std::string text = apiDateText(*this);
  out << text;
  if (readAPIDate(text) == *this) return out;
  return out << " (" << doubleText(seconds_) << " s since 1970)";
}

std::ostream& UUID::show(std::ostream& out) const { return out << text(); }

std::ostream& URLError::show(std::ostream& out) const {
  return out << message << " (offset " << offset << ')';
}

std::ostream& QueryItem::show(std::ostream& out) const {
  out << detail::oneLineLiteral(name);
  if (!value) return out;
  out << '=';
  return isSecretName(name) ? out << redacted : out << detail::oneLineLiteral(*value);
}

std::ostream& URL::show(std::ostream& out) const {
  const std::size_t colon = userInformation().value_or("").find(':');
  const std::size_t end = queryEnd();
  if (colon == std::string_view::npos) {
    out << slice(0, pathEnd());
  } else {
    out << slice(0, parts_.authority + colon + 1) << redacted << slice(parts_.host - 1U, pathEnd());
  }
  std::string_view separator = "?";
  for (const RawQueryItem& item : rawQueryItems()) {
    out << std::exchange(separator, "&") << item.name;
    if (item.value) out << '=' << (isSecretName(item.decodedName()) ? redacted : *item.value);
  }
  if (encodedQuery() == "") out << separator;
  return out << slice(end, text_.size());
}

}  // namespace tilvanego
