#pragma once

#include <functional>
#include <memory>
#include <optional>

#include <tilvanego/network/Failure.h>
#include <tilvanego/network/Progress.h>
#include <tilvanego/network/URLRequest.h>
#include <tilvanego/network/URLResponse.h>
#include <tilvanego/values/Data.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// One send: made suspended, started once, ended once. All operations may be called from any thread. May
/// throw: from `resume` on the request counts as one that the session failed, before as one that couldn't be
/// built; from `cancel` the exception is dropped after one line on standard error.
class URLSessionDataTaskProtocol {
 public:
  virtual ~URLSessionDataTaskProtocol() = default;

  /// Starts the send. A second call does nothing.
  virtual void resume() = 0;
  /// Unique among the tasks of the process's sessions.
  [[nodiscard]] virtual int taskIdentifier() const = 0;
  /// How far body and answer have come; cancelling it cancels the task.
  [[nodiscard]] virtual std::shared_ptr<Progress> progress() const = 0;
  /// Ends the send with the cancellation failure, unless it has ended. Never calls the completion handler
  /// inside this call. A task that was never resumed ends too.
  virtual void cancel() = 0;
};

/// Runs once for each resumed or cancelled task, on the session's own thread; not any more once the process
/// exits. Body and response may both be there beside a failure.
///
/// May throw: the session's thread is the library's own, so the process ends after one line on standard
/// error.
using DataTaskCompletion =
    std::function<void(std::optional<Data> data, URLResponsePointer response, std::optional<Failure> error)>;

/// Where requests go: `URLSession` on libcurl, or a host's own.
class URLSessionProtocol {
 public:
  virtual ~URLSessionProtocol() = default;

  /// Makes a task that is sent when it is resumed. May be called from any thread. May throw: the request
  /// counts as one that couldn't be built.
  virtual std::shared_ptr<URLSessionDataTaskProtocol> dataTaskFromProtocol(
      const URLRequest& request, DataTaskCompletion completionHandler) = 0;
};

}  // namespace tilvanego
