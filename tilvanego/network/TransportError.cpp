#include <tilvanego/network/TransportError.h>

#include <array>
#include <cstddef>
#include <string_view>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

std::string_view nameOf(TransportError::Code code) {
  // In the order of the codes.
  static constexpr std::array<std::string_view, 15> names{
      "cancelled",
      "timed out",
      "invalid request",
      "unsupported URL",
      "cannot find host",
      "cannot connect to host",
      "proxy authentication required",
      "secure connection failed",
      "server certificate untrusted",
      "network connection lost",
      "bad server response",
      "body too large",
      "too many redirects",
      "redirect refused",
      "transport failure",
  };
  return names.at(static_cast<std::size_t>(code));
}

}  // namespace

std::string TransportError::description() const {
  std::string text(nameOf(code));
  if (!message.empty()) text.append(": ").append(message);
  return text;
}

}  // namespace tilvanego
