#pragma once

#include <memory>

#include <tilvanego/network/OpenAPIMutex.h>
#include <tilvanego/network/URLSessionProtocol.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// The handle of a request builder's sends, one for the builder's whole life: it shows the latest send. All
/// operations may be called from any thread.
class RequestTask {
 public:
  RequestTask() : _state(nullptr) {}

  /// Cancels the send in flight, whose completion then gets the session's cancellation failure with code
  /// `ErrorResponse::transportFailed`. Before the first send, after the end of one and a second time, this
  /// does nothing; a send that an interceptor is still holding goes out all the same.
  void cancel();

  /// For the builders: the session's task of the latest send. Setting one forgets the one before.
  void set(std::shared_ptr<URLSessionDataTaskProtocol> task);
  [[nodiscard]] std::shared_ptr<URLSessionDataTaskProtocol> get() const { return _state.value(); }

 private:
  OpenAPIMutex<std::shared_ptr<URLSessionDataTaskProtocol>> _state;
};

}  // namespace tilvanego
