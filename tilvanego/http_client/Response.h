#pragma once

#include <algorithm>
#include <any>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <tilvanego/network/URLResponse.h>
#include <tilvanego/values/ASCII.h>
#include <tilvanego/values/Data.h>

namespace tilvanego {

/// The body of a response that has none to speak of, as of a DELETE.
struct Empty {
  bool operator==(const Empty&) const = default;
};

/// Orders the names of header fields, in which the case of ASCII letters doesn't count (RFC 9110,
/// section 5.1).
struct HeaderNameLess {
  using is_transparent = void;
  [[nodiscard]] bool operator()(std::string_view left, std::string_view right) const {
    return std::ranges::lexicographical_compare(left, right, [](char a, char b) {
      return static_cast<unsigned char>(detail::asciiLowercased(a)) <
             static_cast<unsigned char>(detail::asciiLowercased(b));
    });
  }
};

/// Header fields as texts. A name is found whatever its case, and shown as it was written:
///
/// ```cpp
/// std::string typeOf(const ResponseHeader& header) {
///   const auto found = header.find("Content-Type");
///   return found != header.end() ? found->second : "";
/// }
/// ```
using ResponseHeader = std::map<std::string, std::string, HeaderNameLess>;

namespace detail {

/// The header fields whose values are UTF-8; others are left out.
ResponseHeader headerTexts(const HTTPURLResponse& response);

}  // namespace detail

/// What a request succeeded with.
template <typename T>
struct Response {
  Response(int status, ResponseHeader fields, T content, std::optional<Data> bytes)
      : statusCode(status), header(std::move(fields)), body(std::move(content)), bodyData(std::move(bytes)) {}
  Response(const HTTPURLResponse& response, T content, std::optional<Data> bytes)
      : Response(response.statusCode(), detail::headerTexts(response), std::move(content), std::move(bytes)) {
  }

  int statusCode;
  /// By the names as the server wrote them, which over HTTP/2 is in lower case; found whatever their case. A
  /// field whose value is no UTF-8 is missing.
  ResponseHeader header;
  T body;
  /// The body as it came, if the session gave one.
  std::optional<Data> bodyData;

  /// Names that differ in case are different here.
  bool operator==(const Response&) const = default;
};

/// A response whose body's type is known at run time alone: the one of the builder that it answers.
using AnyResponse = Response<std::any>;

}  // namespace tilvanego
