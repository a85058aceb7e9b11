#pragma once

#include <expected>
#include <optional>

#include <tilvanego/http_client/encodings/AnyValue.h>
#include <tilvanego/network/Failure.h>
#include <tilvanego/network/URLRequest.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Encodes parameters into a request: into the query of its URL or into its body. Encodings are immutable;
/// any thread may use one at any time.
class ParameterEncoding {
 public:
  virtual ~ParameterEncoding() = default;

  /// Returns the request with the parameters, or the reason why they can't be encoded. May throw: a builder
  /// treats the exception as such a failure.
  [[nodiscard]] virtual std::expected<URLRequest, Failure> encode(
      URLRequest request, const std::optional<Parameters>& parameters) const = 0;
};

}  // namespace tilvanego
