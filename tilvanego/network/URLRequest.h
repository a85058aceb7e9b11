#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <tilvanego/network/HTTPHeaders.h>
#include <tilvanego/values/Data.h>
#include <tilvanego/values/URL.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// What is to be sent: a plain value that interceptors and encodings copy and change. The body is shared by
/// the copies.
struct URLRequest {
  /// None only where a request was taken apart; a session refuses it.
  std::optional<URL> url{};
  /// As it goes out, such as "GET".
  std::string httpMethod = "GET";
  HTTPHeaders headers{};
  std::optional<Data> httpBody{};
  /// Seconds without any byte before the request fails.
  double timeoutInterval = 60;
  /// Of the answer, in bytes after decompression; 0: no limit. None: the session's.
  std::optional<std::uint64_t> maximumBodySize{};

  bool operator==(const URLRequest&) const = default;
};

}  // namespace tilvanego
