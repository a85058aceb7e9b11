#pragma once

#include <expected>
#include <optional>

#include <tilvanego/http_client/encodings/ParameterEncoding.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Encodes the parameters as the body of a form, `name=value&...`, in the order of their names. A collection
/// has one pair for each element that has a value. All bytes but ASCII letters and digits are
/// percent-encoded; a space is "%20".
class FormURLEncoding final : public ParameterEncoding {
 public:
  /// Never fails. Sets "Content-Type" to "application/x-www-form-urlencoded" unless the request has that
  /// field. Removes the body if there is no pair.
  [[nodiscard]] std::expected<URLRequest, Failure> encode(
      URLRequest request, const std::optional<Parameters>& parameters) const override;
};

}  // namespace tilvanego
