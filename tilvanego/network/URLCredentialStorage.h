#pragma once

#include <map>
#include <memory>
#include <optional>
#include <utility>

#include <tilvanego/network/OpenAPIMutex.h>
#include <tilvanego/network/URLAuthenticationChallenge.h>
#include <tilvanego/network/URLCredential.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// One default credential for each protection space, in memory alone, until it is replaced or removed, or the
/// storage goes. Sessions may share a storage. All operations may be called from any thread.
class URLCredentialStorage {
 public:
  /// The process's storage, which sessions use unless their configuration names another one.
  static const std::shared_ptr<URLCredentialStorage>& shared() {
    // Never destroyed: a session may outlive what is.
    static const auto& storage = *new auto(std::make_shared<URLCredentialStorage>());
    return storage;
  }

  [[nodiscard]] std::optional<URLCredential> defaultCredential(const URLProtectionSpace& space) const {
    return credentials_.withValue([&](const auto& credentials) -> std::optional<URLCredential> {
      const auto found = credentials.find(space);
      if (found == credentials.end()) return std::nullopt;
      return found->second;
    });
  }

  /// Forgets all credentials. Requests that were challenged before may still carry one.
  void clear() {
    // Taken out first: nothing is destroyed under the lock.
    std::map<URLProtectionSpace, URLCredential> forgotten;
    credentials_.withValue([&](auto& credentials) { credentials.swap(forgotten); });
  }

  /// Replaces the space's credential; none removes it.
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
