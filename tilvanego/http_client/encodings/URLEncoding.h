#pragma once

#include <expected>
#include <optional>

#include <tilvanego/http_client/encodings/ParameterEncoding.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Encodes the parameters as the query of the URL, in the order of their names. A collection has one item for
/// each element that has a value. Builders use it for `GET` and `HEAD`.
class URLEncoding final : public ParameterEncoding {
 public:
  /// Replaces the query of the URL. If all parameters are empty collections, removes the query. Without
  /// parameters the request is returned unchanged. Fails with `DownloadException::requestMissingURL`.
  [[nodiscard]] std::expected<URLRequest, Failure> encode(
      URLRequest request, const std::optional<Parameters>& parameters) const override;
};

}  // namespace tilvanego
