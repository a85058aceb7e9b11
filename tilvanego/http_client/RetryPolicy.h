#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <tilvanego/http_client/OpenAPIInterceptor.h>
#include <tilvanego/platform/RandomSource.h>
#include <tilvanego/platform/Timer.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// What a `RetryPolicy` retries, how often and after which pause.
struct RetryOptions {
  /// The largest number of tries of a request, the first included.
  int tries = 3;
  /// The pause before the second try is a random time up to this; each further one may be twice as long.
  std::chrono::milliseconds firstPause{500};
  /// The longest of these pauses.
  std::chrono::milliseconds longestPause{30'000};
  /// A request whose response asks for a longer pause by "Retry-After" isn't retried. A shorter one is waited
  /// in addition to the random time.
  std::chrono::milliseconds longestRetryAfter{60'000};
  /// The statuses that are retried.
  std::vector<int> statuses = {408, 429, 500, 502, 503, 504};
  /// A request with this header field is retried whatever its method: by the field's value the server
  /// recognises a request that it has processed. Set the field on the builder, so that each try has the same
  /// value. Empty: no such field.
  std::string keyField = "Idempotency-Key";
  /// Whether requests of all methods are retried, also if the server may process them twice.
  bool retriesEveryMethod = false;
  /// The timer of the pauses, which must allow `after` on any thread, one call at a time. Null: a timer of
  /// the library with a thread of its own, which all policies share.
  std::shared_ptr<Timer> timer{};
  /// The source of the random times, also called on any thread, one call at a time. Null: OpenSSL's.
  std::shared_ptr<RandomSource> random{};
};

/// Retries requests that failed for a while: with one of the `statuses`, or with the `TransportError`
/// `timedOut`, `cannotFindHost`, `cannotConnectToHost` or `networkConnectionLost`. Only requests that may be
/// sent twice: those of the methods GET, HEAD, PUT, DELETE, OPTIONS and TRACE (RFC 9110, section 9.2.2), and
/// those that the options allow.
///
/// Pauses grow exponentially, with full jitter, and follow "Retry-After" (RFC 9110, section 10.2.3), in
/// seconds or as a date; of several such fields the longest counts. A date is compared with the response's
/// own "Date" if there is one. A pause blocks no thread; `RequestTask::cancel` ends it. A request isn't
/// retried if the pause would end after its deadline
/// (`RequestLimits::wholeRequest`).
///
/// The next try is built and sent on the timer's thread. One policy serves any number of requests.
class RetryPolicy : public DefaultOpenAPIInterceptor {
 public:
  explicit RetryPolicy(RetryOptions options = {});

  void retry(const URLRequest& urlRequest, const Session& urlSession, const Builder& requestBuilder,
             const std::optional<Data>& data, const URLResponsePointer& response, const Failure& error,
             RetryCompletion completion) override;

 private:
  [[nodiscard]] bool mayBeSentTwice(const URLRequest& request) const;
  [[nodiscard]] bool mayPass(const URLResponsePointer& response, const Failure& error) const;
  [[nodiscard]] std::optional<std::chrono::milliseconds> pauseAfter(const URLRequest& request,
                                                                    const URLResponsePointer& response);
  [[nodiscard]] std::chrono::milliseconds randomPause(int tries);
  [[nodiscard]] bool fill(std::span<std::uint8_t> octets);

  const RetryOptions options_;
  /// For one call of the ports at a time.
  std::mutex mutex_;
};

}  // namespace tilvanego
