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
  /// cancelled before. A request for which an interceptor hasn't called its completion yet isn't cancelled.
  void cancel();

  /// Called by builders: sets the session's task of the latest request.
  void set(std::shared_ptr<URLSessionDataTaskProtocol> task);
  /// The session's task of the latest request; null before the first one and after `cancel`.
  [[nodiscard]] std::shared_ptr<URLSessionDataTaskProtocol> get() const { return _state.value(); }

 private:
  OpenAPIMutex<std::shared_ptr<URLSessionDataTaskProtocol>> _state;
};

}  // namespace tilvanego
