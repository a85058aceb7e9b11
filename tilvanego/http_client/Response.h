#pragma once

#include <algorithm>
#include <any>
#include <concepts>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <tilvanego/network/TransferMetrics.h>
#include <tilvanego/network/URLResponse.h>
#include <tilvanego/values/ASCII.h>
#include <tilvanego/values/Data.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The body of a response without one, as for DELETE.
struct Empty {
  bool operator==(const Empty&) const = default;
};

/// Compares names of header fields, case-insensitive for ASCII letters (RFC 9110, section 5.1).
struct HeaderNameLess {
  using is_transparent = void;
  [[nodiscard]] bool operator()(std::string_view left, std::string_view right) const {
    return std::ranges::lexicographical_compare(left, right, [](char a, char b) {
      return static_cast<unsigned char>(detail::asciiLowercased(a)) <
             static_cast<unsigned char>(detail::asciiLowercased(b));
    });
  }
};

/// Header fields by name. Names are case-insensitive, their case is kept:
///
/// ```cpp
/// std::string typeOf(const ResponseHeader& header) {
///   const auto found = header.find("Content-Type");
///   return found != header.end() ? found->second : "";
/// }
/// ```
using ResponseHeader = std::map<std::string, std::string, HeaderNameLess>;

namespace support {

/// Returns the header fields whose values are UTF-8; others are left out.
[[nodiscard]] ResponseHeader headerTexts(const HTTPURLResponse& response);

}  // namespace support

/// The response of a successful request.
template <typename T>
struct Response {
  Response(int status, ResponseHeader fields, T content, std::optional<Data> bytes)
      : statusCode(status), header(std::move(fields)), body(std::move(content)), bodyData(std::move(bytes)) {}
  Response(const HTTPURLResponse& response, T content, std::optional<Data> bytes)
      : Response(response.statusCode(), support::headerTexts(response), std::move(content),
                 std::move(bytes)) {
    metrics = response.metrics();
  }

  int statusCode;
  /// The header fields, with the names as the server sent them: in lower case over HTTP/2. Fields whose value
  /// isn't UTF-8 are left out.
  ResponseHeader header;
  T body;
  /// The bytes of the body, if the session returned data.
  std::optional<Data> bodyData;
  /// What the last try of the request took; null unless the session has an observer.
  std::shared_ptr<const TransferMetrics> metrics{};

  /// Compares header names case-sensitively; ignores the metrics.
  bool operator==(const Response& other) const
    requires std::equality_comparable<T>
  {
    return statusCode == other.statusCode && header == other.header && body == other.body &&
           bodyData == other.bodyData;
  }
};

/// A response whose body has the builder's body type, which is known at run time only.
using AnyResponse = Response<std::any>;

}  // namespace tilvanego
