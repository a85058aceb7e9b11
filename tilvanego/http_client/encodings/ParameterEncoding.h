#pragma once

#include <expected>
#include <optional>

#include <tilvanego/http_client/encodings/AnyValue.h>
#include <tilvanego/network/Failure.h>
#include <tilvanego/network/URLRequest.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// A way to put a request's parameters into it, into its URL's query or into its body. Encodings hold no
/// changing state: any thread may use one at any time.
class ParameterEncoding {
 public:
  virtual ~ParameterEncoding() = default;

  /// The request with the parameters in it, or why they can't be put there. May throw, which is such a
  /// failure too.
  [[nodiscard]] virtual std::expected<URLRequest, Failure> encode(
      URLRequest request, const std::optional<Parameters>& parameters) const = 0;
};

}  // namespace tilvanego
