#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <tilvanego/network/HTTPHeaders.h>
#include <tilvanego/values/Data.h>
#include <tilvanego/values/URL.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// An HTTP request: a plain value that interceptors and encodings copy and change. Copies share the body.
struct URLRequest {
  /// Required: a session refuses a request without a URL.
  std::optional<URL> url{};
  /// The method exactly as it is sent, such as "GET".
  std::string httpMethod = "GET";
  HTTPHeaders headers{};
  std::optional<Data> httpBody{};
  /// The longest time without a byte sent or received, in seconds. 0 or less means no limit.
  double timeoutInterval = 60;
  /// The largest body of the response, in bytes after decompression. 0 means no limit; `std::nullopt` means
  /// the limit of the session.
  std::optional<std::uint64_t> maximumBodySize{};

  bool operator==(const URLRequest&) const = default;
};

}  // namespace tilvanego
