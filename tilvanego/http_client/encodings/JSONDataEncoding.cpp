#include <tilvanego/http_client/encodings/JSONDataEncoding.h>

namespace [[gnu::visibility("default")]] tilvanego {

constexpr const char* bytesName = "jsonData";

std::expected<URLRequest, Failure> JSONDataEncoding::encode(
    URLRequest request, const std::optional<Parameters>& parameters) const {
  if (!parameters) return request;
  const auto entry = parameters->find(bytesName);
  if (entry == parameters->end()) return request;
  const Data* const bytes = entry->second.as<Data>();
  if (bytes == nullptr || bytes->empty()) return request;

  if (!request.headers.value("Content-Type")) request.headers.setValue("Content-Type", "application/json");
  request.httpBody = *bytes;
  return request;
}

std::optional<Parameters> JSONDataEncoding::encodingParameters(const std::optional<Data>& jsonData) {
  if (!jsonData || jsonData->empty()) return std::nullopt;
  return Parameters{{bytesName, *jsonData}};
}

}  // namespace tilvanego
