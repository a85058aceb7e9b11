#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include <tilvanego/network/HTTPHeaders.h>

struct curl_slist;  // NOLINT(readability-identifier-naming): libcurl's

namespace tilvanego::detail {

/// Header lines as libcurl wants them, in room that is kept from one request to the next.
class OutgoingHeaders {
 public:
  OutgoingHeaders();
  OutgoingHeaders(const OutgoingHeaders&) = delete;
  OutgoingHeaders& operator=(const OutgoingHeaders&) = delete;
  ~OutgoingHeaders();

  /// Lines for these fields, which have been checked. What libcurl would add to a body on its own,
  /// "Content-Type" and "Expect", is kept out unless the fields have it.
  void set(const HTTPHeaders& fields, bool withBody);
  /// Lives until the next `set`; null without lines.
  [[nodiscard]] curl_slist* list();

 private:
  void add(std::string_view name, std::string_view value);
  void suppress(std::string_view name);

  /// All lines, each with its NUL.
  std::string text_;
  std::vector<std::size_t> starts_;
  std::vector<curl_slist> nodes_;
};

}  // namespace tilvanego::detail
