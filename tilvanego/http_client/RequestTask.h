#pragma once

#include <memory>

#include <tilvanego/network/OpenAPIMutex.h>
#include <tilvanego/network/URLSessionProtocol.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The handle of a builder's requests: it refers to the builder's latest request. All operations may be
/// called from any thread.
class RequestTask {
 public:
  RequestTask() : _state(nullptr) {}

  /// Cancels the request. Its completion gets the session's cancellation failure with the code
  /// `ErrorResponse::transportFailed`. Does nothing if no request was sent yet, if it has ended or if it was
  /// cancelled before. A request that waits for an interceptor's answer to `retry`, such as in the pause of a
  /// `RetryPolicy`, ends in the same way, on the `apiResponseQueue`. One that waits for the answer to
  /// `intercept` isn't cancelled.
  void cancel();

  /// Called by builders: sets the session's task of the latest request.
  void set(std::shared_ptr<URLSessionDataTaskProtocol> task);
  /// Called by builders: sets the task if `expected` is the present one. Returns false if it isn't.
  bool replace(const std::shared_ptr<URLSessionDataTaskProtocol>& expected,
               std::shared_ptr<URLSessionDataTaskProtocol> task);
  /// The session's task of the latest request; null before the first one and after `cancel`.
  [[nodiscard]] std::shared_ptr<URLSessionDataTaskProtocol> get() const { return _state.value(); }

 private:
  OpenAPIMutex<std::shared_ptr<URLSessionDataTaskProtocol>> _state;
};

}  // namespace tilvanego
