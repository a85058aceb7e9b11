#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

namespace [[gnu::visibility("default")]] tilvanego {

/// What one request may take. A builder's limits override those of its configuration, each by itself. A limit
/// without a value has the default that its comment says.
///
/// ```cpp
/// // The `limits` of a builder's arguments.
/// const RequestLimits quick{.silence = std::chrono::seconds(2), .wholeRequest = std::chrono::seconds(10)};
/// ```
struct RequestLimits {
  /// The longest time without a byte sent or received. 0 or less means no limit; by default 60 s.
  std::optional<std::chrono::milliseconds> silence{};
  /// The longest time from `execute` to the end of the last try: all tries, redirects, challenges and pauses
  /// together. A try that would begin later fails at once. 0 or less means no limit, which is the default.
  /// The session's `maximumRequestTime` limits each try as well.
  std::optional<std::chrono::milliseconds> wholeRequest{};
  /// The largest body of a response, in bytes after decompression. 0 means no limit. By default the limit of
  /// the session; no limit for a download to a file.
  std::optional<std::uint64_t> largestBody{};
  /// Whether redirects are followed, which is the default. If not, the redirect itself is the response: a
  /// failure with its status, such as 302.
  std::optional<bool> followsRedirects{};

  /// These limits, and those of `defaults` where these have no value.
  [[nodiscard]] RequestLimits orElse(const RequestLimits& defaults) const {
    return {.silence = silence ? silence : defaults.silence,
            .wholeRequest = wholeRequest ? wholeRequest : defaults.wholeRequest,
            .largestBody = largestBody ? largestBody : defaults.largestBody,
            .followsRedirects = followsRedirects ? followsRedirects : defaults.followsRedirects};
  }

  bool operator==(const RequestLimits&) const = default;
};

}  // namespace tilvanego
