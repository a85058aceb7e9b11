#pragma once

#include <expected>
#include <optional>

#include <tilvanego/http_client/encodings/ParameterEncoding.h>
#include <tilvanego/values/Data.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Sets the bytes of the parameter "jsonData" as the body. Ignores all other parameters. Without these bytes
/// the request is returned unchanged.
class JSONDataEncoding final : public ParameterEncoding {
 public:
  /// Never fails. Sets "Content-Type" to "application/json" unless the request has that field.
  [[nodiscard]] std::expected<URLRequest, Failure> encode(
      URLRequest request, const std::optional<Parameters>& parameters) const override;

  /// Returns the parameters for these bytes, or `std::nullopt` if there are no bytes.
  [[nodiscard]] static std::optional<Parameters> encodingParameters(std::optional<Data> jsonData);
};

}  // namespace tilvanego
