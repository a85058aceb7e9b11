#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include <tilvanego/http_client/encodings/APIHelper.h>
#include <tilvanego/http_client/encodings/DownloadException.h>
#include <tilvanego/http_client/encodings/FileReading.h>
#include <tilvanego/http_client/encodings/FormURLEncoding.h>
#include <tilvanego/http_client/encodings/JSONDataEncoding.h>
#include <tilvanego/http_client/encodings/OctetStreamEncoding.h>
#include <tilvanego/http_client/encodings/URLEncoding.h>
#include <tilvanego/platform/FatalError.h>
#include <tilvanego/values/PercentEncoding.h>
#include <tilvanego/values/QueryReplacement.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

constexpr std::string_view bytesName = "jsonData";
constexpr std::string_view typeName = "Content-Type";

std::optional<URL> withoutQuery(const URL& url) {
  const auto query = url.encodedQuery();
  if (!query) return url;
  std::string text = url.absoluteString();
  const auto at = static_cast<std::size_t>(query->data() - url.absoluteString().data()) - 1;
  text.erase(at, query->size() + 1);
  const auto parsed = URL::parse(std::move(text));
  return parsed ? std::optional(*parsed) : std::nullopt;
}

/// Calls `add` with the name and the text of each query item, as `APIHelper::mapValuesToQueryItems` lists
/// them.
template <typename Add>
void forEachItem(const Parameters& parameters, Add add) {
  for (const Parameters::value_type& parameter : parameters) {
    const std::string& name = parameter.first;
    const AnyValue& value = parameter.second;
    if (const auto* text = value.as<std::string>()) {
      add(name, *text);
    } else if (const auto* elements = value.as<AnyValue::Array>()) {
      for (const auto& element : *elements) {
        if (element) add(name, element->description());
      }
    } else {
      add(name, value.description());
    }
  }
}

/// The same as `URL::replacingQueryItems` without a list of the items.
std::optional<URL> withQuery(URL url, const Parameters& parameters) {
  support::QueryReplacement replacement(std::move(url), parameters.size());
  forEachItem(parameters,
              [&](std::string_view name, std::string_view value) { replacement.add(name, value); });
  return std::move(replacement).url();
}

bool isWithoutItems(const Parameters& parameters) {
  return std::ranges::all_of(parameters, [](const Parameters::value_type& parameter) {
    const auto* elements = parameter.second.as<AnyValue::Array>();
    return elements != nullptr &&
           std::ranges::none_of(*elements, [](const auto& element) { return element.has_value(); });
  });
}

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

std::expected<Data, Failure> bytesOf(const AnyValue& body) {
  if (const auto* data = body.as<Data>()) return *data;
  const auto* url = body.as<URL>();
  if (url == nullptr) detail::fatalError("Unprocessable body " + body.description());
  const auto file = detail::FileToSend::open(*url);
  if (!file) return std::unexpected(file.error());
  Bytes bytes;
  if (const auto read = file->appendTo(bytes); !read) return std::unexpected(read.error());
  return Data(std::move(bytes));
}

}  // namespace

std::expected<URLRequest, Failure> URLEncoding::encode(URLRequest request,
                                                       const std::optional<Parameters>& parameters) const {
  if (!parameters) return request;
  if (!request.url) return std::unexpected(DownloadException(DownloadException::requestMissingURL));
  if (parameters->empty()) return request;
  auto url = isWithoutItems(*parameters) ? withoutQuery(*request.url)
                                         : withQuery(*std::move(request.url), *parameters);
  // A query alone is a URL, but nothing is left of it without the query.
  if (!url) return std::unexpected(DownloadException(DownloadException::requestMissingURL));
  request.url = *std::move(url);
  return request;
}

std::expected<URLRequest, Failure> FormURLEncoding::encode(
    URLRequest request, const std::optional<Parameters>& parameters) const {
  const auto items = APIHelper::mapValuesToQueryItems(parameters.value_or(Parameters()));
  request.headers.addIfAbsent(typeName, "application/x-www-form-urlencoded");
  request.httpBody = items ? std::optional(Data(formText(*items))) : std::nullopt;
  return request;
}

std::expected<URLRequest, Failure> JSONDataEncoding::encode(
    URLRequest request, const std::optional<Parameters>& parameters) const {
  if (!parameters) return request;
  const auto entry = parameters->find(bytesName);
  if (entry == parameters->end()) return request;
  const Data* const bytes = entry->second.as<Data>();
  if (bytes == nullptr || bytes->empty()) return request;
  request.headers.addIfAbsent(typeName, "application/json");
  request.httpBody = *bytes;
  return request;
}

std::optional<Parameters> JSONDataEncoding::encodingParameters(std::optional<Data> jsonData) {
  if (!jsonData || jsonData->empty()) return std::nullopt;
  std::optional<Parameters> parameters(std::in_place);
  parameters->reserve(1);
  parameters->emplace(bytesName, *std::move(jsonData));
  return parameters;
}

std::expected<URLRequest, Failure> OctetStreamEncoding::encode(
    URLRequest request, const std::optional<Parameters>& parameters) const {
  if (!parameters) return request;
  const auto body = parameters->find("body");
  if (body == parameters->end()) return request;
  auto bytes = bytesOf(body->second);
  if (!bytes) return std::unexpected(std::move(bytes.error()));
  request.headers.addIfAbsent(typeName, "application/octet-stream");
  request.httpBody = std::move(*bytes);
  return request;
}

}  // namespace tilvanego
