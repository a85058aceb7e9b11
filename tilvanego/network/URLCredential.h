#pragma once

#include <string>

namespace [[gnu::visibility("default")]] tilvanego {

/// A user name and a password for an authentication challenge. No log line or error text of the library shows
/// the password. The texts aren't overwritten when the object is destroyed.
struct URLCredential {
  std::string user;
  std::string password;

  bool operator==(const URLCredential&) const = default;
};

}  // namespace tilvanego
