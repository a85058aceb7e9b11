#include <tilvanego/http_client/encodings/FormDataEncoding.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string_view>
#include <utility>

#include <tilvanego/http_client/encodings/FileReading.h>
#include <tilvanego/http_client/encodings/MIMETypes.h>
#include <tilvanego/platform/FatalError.h>
#include <tilvanego/platform/OpenSSLRandomSource.h>
#include <tilvanego/values/Text.h>
#include <tilvanego/values/UUID.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

using Outcome = std::expected<void, Failure>;

/// Calls `visit` with the value of each part, null for an absent element, until it fails.
template <typename Visit>
Outcome forEachElement(const AnyValue& value, const Visit& visit) {
  const auto* elements = value.as<AnyValue::Array>();
  if (elements == nullptr) return visit(&value);
  for (const auto& element : *elements) {
    if (Outcome done = visit(element ? &*element : nullptr); !done) return done;
  }
  return {};
}

bool wouldForgeLines(std::string_view text) {
  return text.find_first_of(std::string_view("\r\n\0", 3)) != std::string_view::npos;
}

std::expected<std::string, FormDataError> newBoundary() {
  UUID::Octets octets;
  if (!OpenSSLRandomSource().fill(octets)) {
    return std::unexpected(FormDataError{FormDataError::Reason::noRandomBytes, {}});
  }
  return "Boundary-" + UUID::fromRandomBytes(octets).text();
}

/// Builds a multipart body part by part.
class Multipart {
 public:
  Multipart(std::string boundary, Bytes bodySoFar,
            const FormDataEncoding::ContentTypeForFormPart& contentTypeForFormPart)
      : boundary_(std::move(boundary)),
        body_(std::move(bodySoFar)),
        contentTypeForFormPart_(contentTypeForFormPart) {}

  void reserveFor(const Parameters& parameters);
  Outcome add(const std::string& name, const AnyValue* value);
  Bytes finish() && {
    append({"\r\n--", boundary_, "--\r\n"});
    return std::move(body_);
  }

 private:
  void addValuePart(std::string_view name, std::string_view content) {
    beginPart(name);
    append({"\r\n\r\n", content});
  }
  Outcome addFilePart(const std::string& name, const URL& fileURL);
  std::string typeOf(const URL& fileURL, std::string_view fileName) const;

  void beginPart(std::string_view name) {
    append({body_.empty() ? "" : "\r\n", "--", boundary_, "\r\nContent-Disposition: form-data; name=\"", name,
            "\""});
  }
  void append(std::initializer_list<std::string_view> texts) {
    for (const std::string_view text : texts) {
      // As bytes, which are copied at once; characters would be converted one by one.
      const auto* const first = reinterpret_cast<const std::uint8_t*>(text.data());
      body_.insert(body_.end(), first, first + text.size());
    }
  }

  std::string boundary_;
  Bytes body_;
  const FormDataEncoding::ContentTypeForFormPart& contentTypeForFormPart_;
};

/// Estimates the size of the body, so that a large file isn't copied again while the buffer grows. The
/// reported sizes of files are trusted up to a limit.
void Multipart::reserveFor(const Parameters& parameters) {
  constexpr std::size_t maxReserved = std::size_t{1} << 30;
  std::size_t size = body_.size();
  for (const auto& parameter : parameters) {
    const auto count = [&](const AnyValue* element) -> Outcome {
      constexpr std::size_t linesOfPart = 256;
      size += linesOfPart + boundary_.size() + parameter.first.size();
      if (element == nullptr) return {};
      if (const auto* text = element->as<std::string>()) size += text->size();
      if (const auto* data = element->as<Data>()) size += data->size();
      if (const auto* url = element->as<URL>()) size += detail::sizeOfFile(*url);
      return {};
    };
    [[maybe_unused]] const Outcome counted = forEachElement(parameter.second, count);
  }
  body_.reserve(std::min(size, maxReserved));
}

Outcome Multipart::add(const std::string& name, const AnyValue* value) {
  if (value == nullptr) detail::fatalError("Unprocessable value nil with key " + name);
  if (wouldForgeLines(name)) {
    return std::unexpected(FormDataError{FormDataError::Reason::invalidName, name});
  }
  if (const auto* url = value->as<URL>()) return addFilePart(name, *url);
  if (const auto* text = value->as<std::string>()) {
    if (isValidUTF8(*text)) addValuePart(name, *text);
  } else if (const auto number = value->numberText()) {
    addValuePart(name, *number);
  } else if (const auto* data = value->as<Data>()) {
    addValuePart(name, data->text());
  } else if (const auto* uuid = value->as<UUID>()) {
    addValuePart(name, uuid->text());
  } else {
    detail::fatalError("Unprocessable value " + value->description() + " with key " + name);
  }
  return {};
}

Outcome Multipart::addFilePart(const std::string& name, const URL& fileURL) {
  const auto file = detail::FileToSend::open(fileURL);
  if (!file) return std::unexpected(file.error());
  const std::string fileName = detail::lastPathComponent(fileURL);
  if (wouldForgeLines(fileName)) {
    return std::unexpected(FormDataError{FormDataError::Reason::invalidFileName, name});
  }
  const std::string type = typeOf(fileURL, fileName);
  if (wouldForgeLines(type)) {
    return std::unexpected(FormDataError{FormDataError::Reason::invalidContentType, name});
  }
  beginPart(name);
  append({"; filename=\"", fileName, "\"\r\nContent-Type: ", type, "\r\n\r\n"});
  if (const auto read = file->appendTo(body_); !read) return std::unexpected(read.error());
  return {};
}

std::string Multipart::typeOf(const URL& fileURL, std::string_view fileName) const {
  if (contentTypeForFormPart_) {
    if (auto type = contentTypeForFormPart_(fileURL)) return *std::move(type);
  }
  const auto type = MIMETypes::system().typeForExtension(detail::pathExtension(fileName));
  return std::string(type.value_or("application/octet-stream"));
}

}  // namespace

std::string FormDataError::description() const {
  if (reason == Reason::noRandomBytes) return "the system has no random bytes for the boundary";
  if (reason == Reason::invalidName) return "a part's name holds a line end or a NUL";
  const std::string what = reason == Reason::invalidFileName ? "the name" : "the content type";
  return what + " of the file for part \"" + name + "\" holds a line end or a NUL";
}

std::expected<URLRequest, Failure> FormDataEncoding::encode(
    URLRequest request, const std::optional<Parameters>& parameters) const {
  if (!parameters || parameters->empty()) return request;
  auto boundary = newBoundary();
  if (!boundary) return std::unexpected(boundary.error());
  request.headers.setValue("Content-Type", "multipart/form-data; boundary=" + *boundary);

  const auto bodySoFar = request.httpBody ? request.httpBody->bytes() : std::span<const std::uint8_t>();
  Multipart body(*std::move(boundary), Bytes(bodySoFar.begin(), bodySoFar.end()), contentTypeForFormPart_);
  body.reserveFor(*parameters);
  for (const auto& parameter : *parameters) {
    const auto add = [&](const AnyValue* element) { return body.add(parameter.first, element); };
    const Outcome added = forEachElement(parameter.second, add);
    if (!added) return std::unexpected(added.error());
  }
  request.httpBody = Data(std::move(body).finish());
  return request;
}

}  // namespace tilvanego
