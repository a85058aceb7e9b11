#pragma once

#include <expected>
#include <optional>

#include <tilvanego/http_client/encodings/ParameterEncoding.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Puts the parameters into the URL's query, in the order of their names; an array gives one item for each
/// element that is there. `GET` and `HEAD` requests are sent so.
class URLEncoding final : public ParameterEncoding {
 public:
  /// Any parameter replaces the query that the URL had, and parameters that are all empty arrays remove it;
  /// no parameters leave the request as it is. Fails with `DownloadException::requestMissingURL`.
  [[nodiscard]] std::expected<URLRequest, Failure> encode(
      URLRequest request, const std::optional<Parameters>& parameters) const override;
};

}  // namespace tilvanego
