#pragma once

#include <array>
#include <cstdint>
#include <string_view>
#include <utility>

#include <tilvanego/values/RawText.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The methods of a request (RFC 9110, section 9; RFC 5789). Their texts are upper case and case-sensitive.
enum class HTTPMethod : std::uint8_t { options, get, head, post, put, patch, delete_, trace, connect };

template <>
struct RawTexts<HTTPMethod> {
  using enum HTTPMethod;
  static constexpr std::array table{
      std::pair{options, std::string_view("OPTIONS")}, std::pair{get, std::string_view("GET")},
      std::pair{head, std::string_view("HEAD")},       std::pair{post, std::string_view("POST")},
      std::pair{put, std::string_view("PUT")},         std::pair{patch, std::string_view("PATCH")},
      std::pair{delete_, std::string_view("DELETE")},  std::pair{trace, std::string_view("TRACE")},
      std::pair{connect, std::string_view("CONNECT")}};
};

}  // namespace tilvanego
