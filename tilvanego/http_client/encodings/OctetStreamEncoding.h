#pragma once

#include <expected>
#include <optional>

#include <tilvanego/http_client/encodings/ParameterEncoding.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Sets the parameter "body" as the body: its bytes, or the content of the file of a `file:` URL. Ignores all
/// other parameters.
class OctetStreamEncoding final : public ParameterEncoding {
 public:
  /// Sets "Content-Type" to "application/octet-stream" unless the request has that field. Without a parameter
  /// "body" the request is returned unchanged. Fails with a `FileReadError`. A value that is neither bytes
  /// nor a URL is a programming error and ends the process.
  [[nodiscard]] std::expected<URLRequest, Failure> encode(
      URLRequest request, const std::optional<Parameters>& parameters) const override;
};

}  // namespace tilvanego
