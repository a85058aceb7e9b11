#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include <tilvanego/values/QueryItem.h>
#include <tilvanego/values/URL.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The parts of a URL to be, decoded: UTF-8 text without escapes.
struct URLComponents {
  /// As it shall stand, without ":".
  std::optional<std::string> scheme;
  /// ASCII as it shall stand, an address in brackets, or Unicode, which goes into its IDNA form. An empty
  /// host is one.
  std::optional<std::string> host;
  std::string path;
  /// Empty items make an empty query ("?"), no value none.
  std::optional<std::vector<QueryItem>> queryItems;

  /// The URL of these parts, percent-encoded. No value if there is none: the scheme isn't one, the host holds
  /// what can't stand in a host, the path doesn't start with "/" behind a host or starts with "//" without
  /// one, or all is empty.
  [[nodiscard]] std::optional<URL> url() const;
};

}  // namespace tilvanego

namespace tilvanego::detail {

/// Appends "?" and the items, encoded, with "&" between them.
void appendQuery(std::string& target, std::span<const QueryItem> items);

}  // namespace tilvanego::detail
