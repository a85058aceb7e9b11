#pragma once

#include <tilvanego/http_client/URLResponse.h>
#include <tilvanego/values/Data.h>

#include <any>
#include <map>
#include <optional>
#include <string>
#include <utility>

namespace tilvanego {

/// The body of a response that has none to speak of, as of a DELETE.
struct Empty {
  bool operator==(const Empty&) const = default;
};

namespace detail {

/// The header fields whose values are UTF-8; others are left out.
std::map<std::string, std::string> headerTexts(const HTTPURLResponse& response);

}  // namespace detail

/// What a request succeeded with.
template <typename T>
struct Response {
  Response(int status, std::map<std::string, std::string> fields, T content, std::optional<Data> bytes)
      : statusCode(status), header(std::move(fields)), body(std::move(content)), bodyData(std::move(bytes)) {}
  Response(const HTTPURLResponse& response, T content, std::optional<Data> bytes)
      : Response(response.statusCode(), detail::headerTexts(response), std::move(content), std::move(bytes)) {
  }

  int statusCode;
  /// By the names as the server wrote them. A field whose value is no UTF-8 is missing.
  std::map<std::string, std::string> header;
  T body;
  /// The body as it came, if the session gave one.
  std::optional<Data> bodyData;

  bool operator==(const Response&) const = default;
};

/// A response whose body's type is known at run time alone: the one of the builder that it answers.
using AnyResponse = Response<std::any>;

}  // namespace tilvanego
