#pragma once

#include <expected>
#include <optional>

#include <tilvanego/http_client/encodings/ParameterEncoding.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Sends the parameter "body" as it is: its bytes, or those of the file that a `file:` URL names. Every other
/// parameter is ignored.
class OctetStreamEncoding final : public ParameterEncoding {
 public:
  /// Without a parameter "body" the request stays as it is. "Content-Type" becomes "application/octet-stream"
  /// unless the request has one. Fails with a `FileReadError`. A value that is neither bytes nor a URL is a
  /// fault of the program and ends the process.
  [[nodiscard]] std::expected<URLRequest, Failure> encode(
      URLRequest request, const std::optional<Parameters>& parameters) const override;
};

}  // namespace tilvanego
