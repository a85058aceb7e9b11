#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <tilvanego/network/URLAuthenticationChallenge.h>
#include <tilvanego/network/URLCredential.h>
#include <tilvanego/platform/RandomSource.h>
#include <tilvanego/values/Lifetime.h>
#include <tilvanego/values/Wiping.h>

namespace tilvanego {

inline void wipe(URLCredential& credential) noexcept {
  support::wipe(credential.user);
  support::wipe(credential.password);
}

namespace detail {

/// One challenge of a "WWW-Authenticate" or "Proxy-Authenticate" field (RFC 9110, section 11.6.1).
struct Challenge {
  /// As the server sent it; case-insensitive.
  std::string scheme;
  /// Names in lower case, values without quotes and escapes, in the field's own bytes. A token68 is left out.
  std::vector<std::pair<std::string, std::string>> parameters;

  [[nodiscard]] std::optional<std::string_view> parameter(std::string_view lowerCaseName) const
      TILVANEGO_LIFETIMEBOUND;
};

/// Returns all challenges of a field, whose values are separated by commas. Invalid parts are ignored.
[[nodiscard]] std::vector<Challenge> parseChallenges(std::string_view field);

/// Whether the text has a character that a header field must not repeat (RFC 9110, section 5.5).
[[nodiscard]] bool hasControlCharacter(std::string_view text);

/// Returns the challenge that the session responds to: the first Digest with an algorithm that
/// `Authorization` computes, else the first Basic, else null.
[[nodiscard]] const Challenge* supportedChallenge(
    const std::vector<Challenge>& challenges TILVANEGO_LIFETIMEBOUND);

/// Returns method and realm of a supported challenge; the caller sets the other members.
[[nodiscard]] URLProtectionSpace spaceOf(const Challenge& challenge);

/// A challenge and what the answers to it share. Several threads may answer at once.
struct ChallengeInUse {
  const Challenge challenge;
  /// Of a Digest.
  const std::string clientNonce{};
  /// How many requests were sent with the nonce of a Digest.
  std::atomic<std::uint32_t> uses = 0;
};

/// A credential for one challenge: gives the "Authorization" or "Proxy-Authorization" field of each request
/// that is sent with it (RFC 7616, RFC 7617). Holds no password; its destructor wipes what could replace one.
class Authorization {
 public:
  /// `challenge` is one that `supportedChallenge` returned; `random` makes the client's nonce. Returns no
  /// value if the user name has a control character, or if there are no random bytes or no such hash.
  [[nodiscard]] static std::optional<Authorization> make(const Challenge& challenge,
                                                         const URLCredential& credential,
                                                         RandomSource& random);
  /// The same for a challenge that was answered before: the server isn't asked first. Null as well.
  [[nodiscard]] static std::optional<Authorization> ahead(std::shared_ptr<ChallengeInUse> challenge,
                                                          const URLCredential& credential);
  Authorization(Authorization&&) = default;
  Authorization& operator=(Authorization&&) = delete;
  ~Authorization();

  /// Returns the field's value for a request with this method and this target: path and query, or host and
  /// port for CONNECT. The caller must wipe it.
  [[nodiscard]] std::string field(std::string_view method, std::string_view target);

  /// Takes the nonce of `challenge` if that only calls the last one stale, the first time. For an answer that
  /// was given ahead any other nonce will do: many servers forget nonces and don't call them stale. Returns
  /// false for a challenge that refuses the credential.
  [[nodiscard]] bool renew(const Challenge& challenge);

  /// Whether it was made by `ahead` and not renewed since.
  [[nodiscard]] bool isAhead() const { return isAhead_; }
  [[nodiscard]] const std::shared_ptr<ChallengeInUse>& inUse() const TILVANEGO_LIFETIMEBOUND {
    return inUse_;
  }

 private:
  explicit Authorization(std::shared_ptr<ChallengeInUse> challenge) : inUse_(std::move(challenge)) {}
  [[nodiscard]] bool takeCredential(const URLCredential& credential);
  [[nodiscard]] const Challenge& challenge() const { return inUse_->challenge; }

  std::shared_ptr<ChallengeInUse> inUse_;
  /// For Basic the whole field, for Digest the hash of user, realm and password.
  std::string secret_;
  /// The user name of a Digest as it is sent.
  std::string user_;
  bool isRenewed_ = false;
  bool isAhead_ = false;
};

}  // namespace detail
}  // namespace tilvanego
