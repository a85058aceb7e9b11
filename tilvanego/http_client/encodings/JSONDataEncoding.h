#pragma once

#include <expected>
#include <optional>

#include <tilvanego/http_client/encodings/ParameterEncoding.h>
#include <tilvanego/values/Data.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Sends JSON bytes, which the parameters hold under "jsonData", as the body. Every other parameter is
/// ignored, and without such bytes the request stays as it is.
class JSONDataEncoding final : public ParameterEncoding {
 public:
  /// Never fails. "Content-Type" becomes "application/json" unless the request has one.
  [[nodiscard]] std::expected<URLRequest, Failure> encode(
      URLRequest request, const std::optional<Parameters>& parameters) const override;

  /// The parameters that carry these bytes; none for no or empty bytes.
  [[nodiscard]] static std::optional<Parameters> encodingParameters(const std::optional<Data>& jsonData);
};

}  // namespace tilvanego
