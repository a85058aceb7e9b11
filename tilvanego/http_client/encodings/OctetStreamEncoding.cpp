#include <tilvanego/http_client/encodings/OctetStreamEncoding.h>

#include <tilvanego/http_client/encodings/FileReading.h>
#include <tilvanego/platform/FatalError.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

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

std::expected<URLRequest, Failure> OctetStreamEncoding::encode(
    URLRequest request, const std::optional<Parameters>& parameters) const {
  if (!parameters) return request;
  const auto body = parameters->find("body");
  if (body == parameters->end()) return request;
  auto bytes = bytesOf(body->second);
  if (!bytes) return std::unexpected(std::move(bytes.error()));
  if (!request.headers.value("Content-Type")) {
    request.headers.setValue("Content-Type", "application/octet-stream");
  }
  request.httpBody = std::move(*bytes);
  return request;
}

}  // namespace tilvanego
