#include <tilvanego/http_client/RetryPolicy.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

#include <tilvanego/http_client/PauseTimer.h>
#include <tilvanego/http_client/RequestBuilder.h>
#include <tilvanego/network/IdempotentMethods.h>
#include <tilvanego/network/RetryAfter.h>
#include <tilvanego/network/TransportError.h>
#include <tilvanego/platform/OpenSSLRandomSource.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

using std::chrono::milliseconds;

RetryOptions withPorts(RetryOptions options) {
  if (!options.random) options.random = std::make_shared<OpenSSLRandomSource>();
  return options;
}

/// The clock of a till may be wrong: the server's own time counts if it says it.
std::optional<std::chrono::seconds> askedPause(const HTTPHeaders& headers) {
  const auto field = headers.value("Retry-After");
  if (!field) return std::nullopt;
  const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
  const auto date = detail::parseHTTPDate(headers.value("Date").value_or(""), now);
  return detail::retryAfter(*field, date.value_or(now));
}

}  // namespace

RetryPolicy::RetryPolicy(RetryOptions options) : options_(withPorts(std::move(options))) {}

void RetryPolicy::retry(const URLRequest& urlRequest, const Session&, const Builder& requestBuilder,
                        const std::optional<Data>&, const URLResponsePointer& response, const Failure& error,
                        RetryCompletion completion) {
  using enum OpenAPIInterceptorRetry;
  // Without a task, the request was cancelled meanwhile.
  if (urlRequest.tryNumber >= options_.tries || !mayBeSentTwice(urlRequest) || !mayPass(response, error) ||
      !requestBuilder->requestTask->get()) {
    return completion(dontRetry);
  }
  const auto pause = pauseAfter(urlRequest, response);
  if (!pause) return completion(dontRetry);
  const std::lock_guard held(mutex_);
  const auto& timer = options_.timer ? options_.timer : detail::PauseTimer::ofProcess();
  timer->after(*pause, [completion = std::move(completion)] { completion(OpenAPIInterceptorRetry::retry); });
}

bool RetryPolicy::mayBeSentTwice(const URLRequest& request) const {
  if (options_.retriesEveryMethod || detail::isIdempotent(request.httpMethod)) return true;
  return !options_.keyField.empty() && !request.headers.value(options_.keyField).value_or("").empty();
}

bool RetryPolicy::mayPass(const URLResponsePointer& response, const Failure& error) const {
  using enum TransportError::Code;
  static constexpr std::array passing = {timedOut, cannotFindHost, cannotConnectToHost,
                                         networkConnectionLost};
  if (const auto* transport = error.as<TransportError>()) {
    return std::ranges::find(passing, transport->code) != passing.end();
  }
  const auto* http = dynamic_cast<const HTTPURLResponse*>(response.get());
  return http != nullptr &&
         std::ranges::find(options_.statuses, http->statusCode()) != options_.statuses.end();
}

// Returns no value if the request can't be retried in time.
std::optional<milliseconds> RetryPolicy::pauseAfter(const URLRequest& request,
                                                    const URLResponsePointer& response) {
  milliseconds pause = randomPause(request.tryNumber);
  if (const auto* http = dynamic_cast<const HTTPURLResponse*>(response.get())) {
    const auto asked = askedPause(http->headers());
    if (asked > options_.longestRetryAfter) return std::nullopt;
    pause += asked.value_or(std::chrono::seconds(0));
  }
  const auto& deadline = request.deadline;
  if (deadline && std::chrono::steady_clock::now() + pause >= *deadline) return std::nullopt;
  return pause;
}

milliseconds RetryPolicy::randomPause(int tries) {
  constexpr milliseconds longest = std::chrono::days(1);
  const milliseconds limit = std::clamp(options_.longestPause, milliseconds(0), longest);
  milliseconds most = std::clamp(options_.firstPause, milliseconds(0), limit);
  for (int i = 1; i < tries && most < limit; ++i) most = std::min(most * 2, limit);
  std::array<std::uint8_t, 4> octets{};
  if (!fill(octets)) return most;
  std::uint64_t number = 0;
  for (const auto octet : octets) number = number << 8U | octet;
  return milliseconds(static_cast<std::uint64_t>(most.count() + 1) * number >> 32U);
}

bool RetryPolicy::fill(std::span<std::uint8_t> octets) try {
  const std::lock_guard held(mutex_);
  return options_.random->fill(octets);
} catch (...) {
  return false;
}

}  // namespace tilvanego
