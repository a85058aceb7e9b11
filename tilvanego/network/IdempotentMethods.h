#pragma once

#include <algorithm>
#include <array>
#include <string_view>

namespace tilvanego::detail {

/// Whether sending a request of the method twice does no more than sending it once (RFC 9110, section 9.2.2).
constexpr bool isIdempotent(std::string_view method) {
  constexpr std::array<std::string_view, 6> methods = {"GET", "HEAD", "PUT", "DELETE", "OPTIONS", "TRACE"};
  return std::ranges::find(methods, method) != methods.end();
}

}  // namespace tilvanego::detail
