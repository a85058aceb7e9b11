#pragma once

#include <string>

namespace [[gnu::visibility("default")]] tilvanego {

/// A user's name and password for an authentication challenge. Nothing of the library shows the password.
struct URLCredential {
  std::string user;
  std::string password;

  bool operator==(const URLCredential&) const = default;
};

}  // namespace tilvanego
