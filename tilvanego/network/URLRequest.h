#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include <tilvanego/network/HTTPHeaders.h>
#include <tilvanego/values/Data.h>
#include <tilvanego/values/URL.h>

namespace [[gnu::visibility("default")]] tilvanego {

class BodySink;
class BodySource;

/// An HTTP request: a plain value that interceptors and encodings copy and change. Copies share the body,
/// its source and the sink.
struct URLRequest {
  /// Required: a session refuses a request without a URL.
  std::optional<URL> url{};
  /// The method exactly as it is sent, such as "GET".
  std::string httpMethod = "GET";
  HTTPHeaders headers{};
  std::optional<Data> httpBody{};
  /// The body in pieces; null for none. A request has this or `httpBody`, not both. A `MemoryURLSession`
  /// leaves it to its responder.
  std::shared_ptr<BodySource> bodySource{};
  /// Takes the body of a successful response, which then has no data; null for none. The limit of the session
  /// for a body's size doesn't apply.
  std::shared_ptr<BodySink> bodySink{};
  /// The longest time without a byte sent or received, in seconds. 0 or less means no limit.
  double timeoutInterval = 60;
  /// The largest body of the response, in bytes after decompression. 0 means no limit; `std::nullopt` means
  /// the limit of the session.
  std::optional<std::uint64_t> maximumBodySize{};
  /// The latest end of the response. A session fails the request with `timedOut` then, and sends nothing if
  /// it is over before. The session's `maximumRequestTime` limits the request too.
  std::optional<std::chrono::steady_clock::time_point> deadline{};
  /// Whether the session follows redirects. If not, the redirect itself is the response.
  bool followsRedirects = true;
  /// The number of this try, from 1. Builders set it, for interceptors.
  int tryNumber = 1;

  bool operator==(const URLRequest&) const = default;
};

}  // namespace tilvanego
