#pragma once

#include <cstdint>
#include <expected>
#include <functional>
#include <optional>
#include <string>

#include <tilvanego/http_client/encodings/ParameterEncoding.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Why no multipart body can be made of what was given.
struct FormDataError {
  enum class Reason : std::uint8_t {
    invalidName,         ///< a parameter's name holds a line end or a NUL, which would forge another part
    invalidFileName,     ///< a file's name does
    invalidContentType,  ///< the type that `ContentTypeForFormPart` gave does
    noRandomBytes        ///< the system has no random bytes for the boundary
  };
  Reason reason;
  /// The parameter that it is about.
  std::string name;

  [[nodiscard]] std::string description() const;
  bool operator==(const FormDataError&) const = default;
};

/// Sends the parameters as the parts of a multipart body (RFC 7578), in the order of their names; an array
/// gives one part for each element. A `file:` URL is sent as a file with its name and MIME type; texts,
/// numbers, booleans ("1" and "0"), bytes and UUIDs as they are. Any other value is a fault of the program
/// and ends the process.
///
/// Names and file names aren't escaped, a quote in one goes out as it stands. One with CR, LF or NUL is
/// refused.
class FormDataEncoding final : public ParameterEncoding {
 public:
  /// The MIME type of a file that is sent, or none for the type that its name's extension has.
  using ContentTypeForFormPart = std::function<std::optional<std::string>(const URL& fileURL)>;

  /// The callback runs inside `encode`, on its thread; so it must be safe there. An empty one always says
  /// none.
  explicit FormDataEncoding(ContentTypeForFormPart contentTypeForFormPart = nullptr)
      : contentTypeForFormPart_(std::move(contentTypeForFormPart)) {}

  /// Without parameters the request stays as it is. "Content-Type" becomes "multipart/form-data" with a
  /// boundary that is new for each request; what the request had is overwritten. Fails with a `FileReadError`
  /// or a `FormDataError`.
  [[nodiscard]] std::expected<URLRequest, Failure> encode(
      URLRequest request, const std::optional<Parameters>& parameters) const override;

 private:
  ContentTypeForFormPart contentTypeForFormPart_;
};

}  // namespace tilvanego
