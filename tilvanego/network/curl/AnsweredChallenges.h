#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include <tilvanego/network/URLAuthenticationChallenge.h>
#include <tilvanego/network/curl/Authorization.h>

namespace tilvanego::detail {

/// The challenges of a session's servers and proxies that were answered with success, so that later requests
/// can be sent with an answer. Holds no credential. Any thread may call it.
class AnsweredChallenges {
 public:
  /// The oldest one goes when there are more.
  static constexpr std::size_t maximum = 64;

  /// Returns the challenge of the deepest directory that holds `path`, or null. `server` has no realm.
  [[nodiscard]] std::shared_ptr<ChallengeInUse> find(const URLProtectionSpace& server,
                                                     std::string_view path) const;

  /// Stores a challenge for the directory of `path` and all below it (RFC 7617, section 2.2), in place of
  /// another one of that directory. Dot segments are resolved.
  void remember(const URLProtectionSpace& server, std::string_view path,
                const std::shared_ptr<ChallengeInUse>& challenge);

  void forget(const std::shared_ptr<ChallengeInUse>& challenge);

 private:
  struct Entry {
    URLProtectionSpace server;
    /// Ends with "/".
    std::string directory;
    std::shared_ptr<ChallengeInUse> challenge;
  };

  /// Called with the mutex locked.
  [[nodiscard]] const Entry* entryFor(const URLProtectionSpace& server, std::string_view path) const;

  /// Guards the entries.
  mutable std::mutex mutex_;
  /// The oldest first.
  std::vector<Entry> entries_;
};

}  // namespace tilvanego::detail
