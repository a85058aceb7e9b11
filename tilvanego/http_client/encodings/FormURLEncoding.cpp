#include <tilvanego/http_client/encodings/FormURLEncoding.h>

#include <string>

#include <tilvanego/http_client/encodings/APIHelper.h>
#include <tilvanego/values/PercentEncoding.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

std::string formText(const std::vector<QueryItem>& items) {
  constexpr auto unescaped = detail::CharacterClass::alphanumeric;
  std::string text;
  for (const QueryItem& item : items) {
    if (&item != &items.front()) text += '&';
    detail::appendPercentEncoded(text, item.name, unescaped);
    if (!item.value) continue;
    text += '=';
    detail::appendPercentEncoded(text, *item.value, unescaped);
  }
  return text;
}

}  // namespace

std::expected<URLRequest, Failure> FormURLEncoding::encode(
    URLRequest request, const std::optional<Parameters>& parameters) const {
  const auto items = APIHelper::mapValuesToQueryItems(parameters.value_or(Parameters()));
  if (!request.headers.value("Content-Type")) {
    request.headers.setValue("Content-Type", "application/x-www-form-urlencoded");
  }
  request.httpBody = items ? std::optional(Data(formText(*items))) : std::nullopt;
  return request;
}

}  // namespace tilvanego
