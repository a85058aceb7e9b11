#pragma once

#include <map>
#include <string>
#include <string_view>

#include "tests/support/HTTPMessages.h"

namespace tilvanego::test {

/// Guards a server's responses by one user's name and password, "till" and "s3cret pass". Knows nothing of
/// nonces but its own, and takes each for as often as the client counts.
class Authenticator {
 public:
  enum class Scheme { basic, digestMD5, digestSHA256 };
  static constexpr std::string_view user = "till";
  static constexpr std::string_view password = "s3cret pass";
  static constexpr std::string_view realm = "shop";

  /// As an origin server answers with 401, as a proxy with 407.
  explicit Authenticator(Scheme scheme, bool isProxy = false) : scheme_(scheme), isProxy_(isProxy) {}

  /// True if the request proves that its sender knows the password (RFC 7617; RFC 7616 with qop=auth). A
  /// proxy takes a digest of the target's path alone too, as libcurl computes it.
  [[nodiscard]] bool admits(const ReceivedRequest& request) const;
  [[nodiscard]] ServerResponse challenge() const;

 private:
  [[nodiscard]] bool admitsBasic(std::string_view credentials) const;
  [[nodiscard]] bool admitsDigest(const ReceivedRequest& request, std::string_view credentials) const;

  Scheme scheme_;
  bool isProxy_;
};

/// The response to a digest challenge that RFC 7616, section 3.4.1 asks for; `algorithm` is "MD5" or
/// "SHA-256".
std::string digestResponse(std::string_view algorithm, std::string_view user, std::string_view realm,
                           std::string_view password, std::string_view method,
                           const std::map<std::string, std::string>& parameters);

}  // namespace tilvanego::test
