#pragma once

#include <expected>
#include <optional>

#include <tilvanego/http_client/encodings/ParameterEncoding.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Sends the parameters as a form's body, `name=value&...` in the order of their names; an array gives one
/// pair for each element that is there. All but ASCII letters and digits is percent-escaped, a space to
/// "%20".
class FormURLEncoding final : public ParameterEncoding {
 public:
  /// Never fails. "Content-Type" becomes "application/x-www-form-urlencoded" unless the request has one. If
  /// nothing is to be sent, the request has no body afterwards.
  [[nodiscard]] std::expected<URLRequest, Failure> encode(
      URLRequest request, const std::optional<Parameters>& parameters) const override;
};

}  // namespace tilvanego
