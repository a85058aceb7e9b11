#pragma once

#include <map>
#include <memory>
#include <optional>
#include <utility>

#include <tilvanego/network/OpenAPIMutex.h>
#include <tilvanego/network/URLAuthenticationChallenge.h>
#include <tilvanego/network/URLCredential.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// Stores one default credential for each protection space, in memory only. Sessions may share a storage. All
/// operations may be called from any thread.
class URLCredentialStorage {
 public:
  /// The storage of the process: the default of a session's configuration.
  [[nodiscard]] static const std::shared_ptr<URLCredentialStorage>& shared() {
    // Never destroyed, because a session may outlive static objects.
    static const auto& storage = *new auto(std::make_shared<URLCredentialStorage>());
    return storage;
  }

  /// Returns the credential of exactly this space, or no value.
  [[nodiscard]] std::optional<URLCredential> defaultCredential(const URLProtectionSpace& space) const {
    return credentials_.withValue([&](const auto& credentials) -> std::optional<URLCredential> {
      const auto found = credentials.find(space);
      if (found == credentials.end()) return std::nullopt;
      return found->second;
    });
  }

  /// Removes all credentials. Requests that were challenged before may still send one.
  void clear() {
    // Swapped out, so that nothing is destroyed under the lock.
    std::map<URLProtectionSpace, URLCredential> forgotten;
    credentials_.withValue([&](auto& credentials) { credentials.swap(forgotten); });
  }

  /// Sets the credential of the space; `std::nullopt` removes it.
  void setDefaultCredential(std::optional<URLCredential> credential, const URLProtectionSpace& space) {
    credentials_.withValue([&](auto& credentials) {
      if (credential) {
        credentials.insert_or_assign(space, *std::move(credential));
      } else {
        credentials.erase(space);
      }
    });
  }

 private:
  OpenAPIMutex<std::map<URLProtectionSpace, URLCredential>> credentials_{{}};
};

}  // namespace tilvanego
