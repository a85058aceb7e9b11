#pragma once

#include <optional>
#include <string>
#include <vector>

#include <tilvanego/values/QueryItem.h>
#include <tilvanego/values/URL.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The parts from which to make a URL, decoded: UTF-8 text without percent escapes.
struct URLComponents {
  /// Without ":".
  std::optional<std::string> scheme;
  /// ASCII, which is kept unchanged; an IP address in brackets; or Unicode, which becomes its IDNA form. May
  /// be empty.
  std::optional<std::string> host;
  std::string path;
  /// Empty items make an empty query ("?"). No value makes no query.
  std::optional<std::vector<QueryItem>> queryItems;

  /// Returns the URL of these parts, percent-encoded. Returns no value if the scheme is not valid, if the
  /// host has a character that no host may have, if there is a host and the path does not start with "/", if
  /// there is no host and the path starts with "//", or if all parts are empty.
  [[nodiscard]] std::optional<URL> url() const;
};

}  // namespace tilvanego
