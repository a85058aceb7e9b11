#pragma once

#include <cstdint>
#include <expected>
#include <functional>
#include <optional>
#include <string>

#include <tilvanego/http_client/encodings/ParameterEncoding.h>
#include <tilvanego/values/CaseNames.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Why the parameters can't be encoded as a multipart body. A CR, LF or NUL in a part's header is refused,
/// because it could add header fields or parts.
struct FormDataError {
  enum class Reason : std::uint8_t {
    invalidName,         ///< the name of the parameter contains CR, LF or NUL
    invalidFileName,     ///< the name of the file contains one
    invalidContentType,  ///< the type returned by `ContentTypeForFormPart` contains one
    noRandomBytes        ///< the system has no random bytes for the boundary
  };
  Reason reason;
  /// The name of the parameter.
  std::string name;

  [[nodiscard]] std::string description() const;
  bool operator==(const FormDataError&) const = default;
};

template <>
inline constexpr bool showsCaseNames<FormDataError::Reason> = true;

/// Encodes the parameters as a multipart body (RFC 7578), in the order of their names. A collection has one
/// part for each element. A `file:` URL is sent as a file with its name and MIME type; texts, numbers,
/// booleans ("1" and "0"), bytes and UUIDs are sent as parts without a file name; a text that isn't UTF-8 is
/// left out. Any other value is a programming error and ends the process.
///
/// Names and file names aren't escaped, so a quote is sent unchanged; CR, LF and NUL are refused.
class FormDataEncoding final : public ParameterEncoding {
 public:
  /// Returns the MIME type of a file, or no value to use the type of its extension. May throw: the exception
  /// leaves `encode`.
  using ContentTypeForFormPart = std::function<std::optional<std::string>(const URL& fileURL)>;

  /// `encode` calls the callback on its own thread. An empty callback means the type of the extension.
  explicit FormDataEncoding(ContentTypeForFormPart contentTypeForFormPart = nullptr)
      : contentTypeForFormPart_(std::move(contentTypeForFormPart)) {}

  /// Replaces "Content-Type" by "multipart/form-data" with a random boundary. Without parameters the request
  /// is returned unchanged. Fails with a `FileReadError` or a `FormDataError`.
  [[nodiscard]] std::expected<URLRequest, Failure> encode(
      URLRequest request, const std::optional<Parameters>& parameters) const override;

 private:
  ContentTypeForFormPart contentTypeForFormPart_;
};

}  // namespace tilvanego
